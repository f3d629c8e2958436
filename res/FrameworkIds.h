#pragma once

// Command and window numbers of the application framework's standard
// commands (File, Edit, View, Window, Help) as the menus and the tool bar
// use them. The program's own commands are in ResourceIds.h.

constexpr int ID_FILE_NEW = 57600;
constexpr int ID_FILE_OPEN = 57601;
constexpr int ID_FILE_CLOSE = 57602;
constexpr int ID_FILE_SAVE = 57603;
constexpr int ID_FILE_SAVE_AS = 57604;
constexpr int ID_FILE_PRINT_SETUP = 57606;
constexpr int ID_FILE_PRINT = 57607;
constexpr int ID_FILE_PRINT_DIRECT = 57608;
constexpr int ID_FILE_PRINT_PREVIEW = 57609;
constexpr int ID_FILE_MRU_FILE1 = 57616; // the recent-file list: 57616..57619
constexpr int ID_FILE_MRU_COUNT = 4;
constexpr int ID_EDIT_COPY = 57634;
constexpr int ID_EDIT_CUT = 57635;
constexpr int ID_EDIT_PASTE = 57637;
constexpr int ID_EDIT_UNDO = 57643;
constexpr int ID_WINDOW_NEW = 57648;
constexpr int ID_WINDOW_ARRANGE = 57649;
constexpr int ID_WINDOW_CASCADE = 57650;
constexpr int ID_WINDOW_TILE_HORZ = 57651;
constexpr int ID_APP_EXIT = 57665;
constexpr int ID_HELP_FINDER = 57667;
constexpr int ID_CONTEXT_HELP = 57669;
constexpr int ID_HELP = 57670;
constexpr int ID_DEFAULT_HELP = 57671;
constexpr int ID_NEXT_PANE = 57680;
constexpr int ID_PREV_PANE = 57681;
constexpr int ID_VIEW_TOOLBAR = 59392;    // also the tool bar's window number
constexpr int ID_VIEW_STATUS_BAR = 59393; // also the status bar's window number

// Messages of the pages' number checks.
constexpr int AFX_IDP_PARSE_INT = 61712;
constexpr int AFX_IDP_PARSE_INT_RANGE = 61714;
