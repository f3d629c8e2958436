#pragma once

// Resource and command numbers of the program. Strings are looked up with
// CStringTable::Get(id); menus, dialogs and commands use the same numbers.

// Menus and document descriptions (the main frame, instrument, terminal).
constexpr int IDR_MAINFRAME = 128;
constexpr int IDR_ORVALITYPE = 129;
constexpr int IDR_TERMINALTYPE = 130;

// Messages and texts.
constexpr int IDP_OLE_INIT_FAILED = 100;
constexpr int IDS_COMMUNICATION_SETUP = 1002;
constexpr int IDS_INSTRUMENT_DRIVER_FILTER = 1003;
constexpr int IDS_EMULATIONS = 1004;
constexpr int IDS_CONNECT_INSTRUMENT = 1005;
constexpr int IDS_DISCONNECT_INSTRUMENT = 1006;
constexpr int IDS_ALL_FILES_FILTER = 1007;
constexpr int IDS_TERMINAL_DRIVER_FILTER = 1008;

// Script command table: name, syntax line, example, description.
constexpr int IDS_CMD_FIRST = 2000;
constexpr int IDS_CMD_CHANGECHARACTER = 2000;
constexpr int IDS_CMD_CHANGECHARACTERS = 2001;
constexpr int IDS_CMD_CHANGESPACES = 2002;
constexpr int IDS_CMD_INSERTCHARACTER = 2003;
constexpr int IDS_CMD_REMOVECHARACTERS = 2004;
constexpr int IDS_CMD_SKIPCHARACTERS = 2005;
constexpr int IDS_CMD_TRIMALL = 2006;
constexpr int IDS_CMD_TRIMLEFT = 2007;
constexpr int IDS_CMD_COUNT = 8;

// Framework strings: application title, idle prompt, status-bar indicators.
constexpr int AFX_IDS_APP_TITLE = 57344;
constexpr int AFX_IDS_IDLEMESSAGE = 57345;
constexpr int ID_INDICATOR_CAPS = 59137;
constexpr int ID_INDICATOR_NUM = 59138;
constexpr int ID_INDICATOR_SCRL = 59139;

// Commands of the program.
constexpr int ID_CONNECT_INSTRUMENT = 32771;
constexpr int ID_ADD_INSTRUMENT = 32772;
constexpr int ID_TERMINAL_EMULATION = 32774;
constexpr int ID_OPTIONS = 32778;
constexpr int ID_MODIFY_INSTRUMENT = 32779;
constexpr int ID_V24_PRINTER = 32780;
constexpr int ID_SEND_FILE = 32781;
constexpr int ID_ADD_TERMINAL = 32782;
constexpr int ID_MODIFY_TERMINAL = 32783;
constexpr int ID_STOP_TRANSMISSION = 32784;
// The serial printer line's settings (v24print.drv), beside "V24 Printer".
constexpr int ID_V24_PRINTER_SETTINGS = 32785;
// The instrument window's session log (File), time stamps, hex pane and
// command line (View), and the modem lines a flow control leaves free (Connect).
constexpr int ID_LOG_TO_FILE = 32786;
constexpr int ID_STOP_LOGGING = 32787;
constexpr int ID_TIME_STAMPS = 32788;
constexpr int ID_HEX_BYTES = 32789;
constexpr int ID_COMMAND_LINE = 32790;
constexpr int ID_LINE_DTR = 32791;
constexpr int ID_LINE_RTS = 32792;
constexpr int ID_RECONNECT = 32793;
constexpr int ID_TIME_STAMP_COLUMN = 32794;
constexpr int ID_FUNCTION_KEY_F1 = 3048; // F1..F8 are 3048..3055
constexpr int ID_FUNCTION_KEY_COUNT = 8;
constexpr int ID_APP_ABOUT = 57664;
