#include "CFrameResource.h"

#include "FrameworkIds.h"
#include "ResourceIds.h"

namespace {

using Item = CFrameResource::MenuItem;
using Popup = CFrameResource::Popup;

Item Separator()
{
    return {0, QString()};
}

Popup EditPopup()
{
    return {QStringLiteral("&Edit"),
            {{ID_EDIT_UNDO, QStringLiteral("&Undo\tCtrl+Z")},
             Separator(),
             {ID_EDIT_CUT, QStringLiteral("Cu&t\tCtrl+X")},
             {ID_EDIT_COPY, QStringLiteral("&Copy\tCtrl+C")},
             {ID_EDIT_PASTE, QStringLiteral("&Paste\tCtrl+V")}}};
}

Popup ViewPopup()
{
    return {QStringLiteral("&View"),
            {{ID_VIEW_TOOLBAR, QStringLiteral("&Toolbar")}, {ID_VIEW_STATUS_BAR, QStringLiteral("&Status Bar")}}};
}

Popup ExtrasPopup()
{
    return {QStringLiteral("&Extras"),
            {{ID_OPTIONS, QStringLiteral("&Options...")},
             Separator(),
             {ID_SEND_FILE, QStringLiteral("&Send File...")},
             {ID_STOP_TRANSMISSION, QStringLiteral("Stop &Transmission")}}};
}

// The instrument window's: what it shows besides the text.
Popup InstrumentViewPopup()
{
    Popup popup = ViewPopup();
    popup.items += {Separator(),
                    {ID_TIME_STAMPS, QStringLiteral("Time Stam&ps")},
                    {ID_TIME_STAMP_COLUMN, QStringLiteral("Time Stamp Col&umn")},
                    {ID_HEX_BYTES, QStringLiteral("&Hex Bytes")},
                    {ID_COMMAND_LINE, QStringLiteral("Command &Line")}};
    return popup;
}

// The instrument window's: serial printer forwarding at the end.
Popup InstrumentExtrasPopup()
{
    Popup popup = ExtrasPopup();
    popup.items += {Separator(),
                    {ID_V24_PRINTER, QStringLiteral("V24 &Printer")},
                    {ID_V24_PRINTER_SETTINGS, QStringLiteral("V24 Printer Se&ttings...")}};
    return popup;
}

Popup HelpPopup()
{
    return {QStringLiteral("&Help"),
            {{ID_HELP_FINDER, QStringLiteral("&Help Topics")},
             Separator(),
             {ID_APP_ABOUT, QStringLiteral("&About Orvalis...")}}};
}

QList<Popup> MainFrameMenu()
{
    return {{QStringLiteral("&File"),
             {{ID_FILE_OPEN, QStringLiteral("&Open...\tCtrl+O")},
              Separator(),
              {ID_FILE_PRINT_SETUP, QStringLiteral("P&rint Setup...")},
              Separator(),
              {ID_FILE_MRU_FILE1, QStringLiteral("Recent File")},
              Separator(),
              {ID_APP_EXIT, QStringLiteral("E&xit")}}},
            ViewPopup(),
            {QStringLiteral("&Connect"),
             {{ID_CONNECT_INSTRUMENT, QStringLiteral("&Connect Instrument...")},
              {ID_ADD_INSTRUMENT, QStringLiteral("&Add Instrument...")},
              {ID_MODIFY_INSTRUMENT, QStringLiteral("&Modify Instrument")}}},
            {QStringLiteral("&Terminal"),
             {{ID_TERMINAL_EMULATION, QStringLiteral("&Terminal Emulation...")},
              {ID_ADD_TERMINAL, QStringLiteral("&Add Terminal...")},
              {ID_MODIFY_TERMINAL, QStringLiteral("&Modify Terminal...")}}},
            HelpPopup()};
}

// Popup 3 is "&Connect" and popup 4 "&Extras": the instrument window
// rewrites and checks items there by position.
QList<Popup> InstrumentMenu()
{
    return {{QStringLiteral("&File"),
             {{ID_FILE_OPEN, QStringLiteral("&Open...\tCtrl+O")},
              {ID_FILE_CLOSE, QStringLiteral("&Close")},
              {ID_FILE_SAVE, QStringLiteral("&Save\tCtrl+S")},
              {ID_FILE_SAVE_AS, QStringLiteral("Save &As...")},
              Separator(),
              {ID_LOG_TO_FILE, QStringLiteral("&Log to File...")},
              {ID_STOP_LOGGING, QStringLiteral("Stop Lo&gging")},
              Separator(),
              {ID_FILE_PRINT, QStringLiteral("&Print...\tCtrl+P")},
              {ID_FILE_PRINT_PREVIEW, QStringLiteral("Print Pre&view")},
              {ID_FILE_PRINT_SETUP, QStringLiteral("P&rint Setup...")},
              Separator(),
              {ID_FILE_MRU_FILE1, QStringLiteral("Recent File")},
              Separator(),
              {ID_APP_EXIT, QStringLiteral("E&xit")}}},
            EditPopup(),
            InstrumentViewPopup(),
            {QStringLiteral("&Connect"),
             {{ID_CONNECT_INSTRUMENT, QStringLiteral("&Disconnect Instrument...")},
              Separator(),
              {ID_LINE_DTR, QStringLiteral("D&TR")},
              {ID_LINE_RTS, QStringLiteral("&RTS")},
              Separator(),
              {ID_RECONNECT, QStringLiteral("Reconnect &Automatically")}}},
            InstrumentExtrasPopup(),
            {QStringLiteral("&Window"),
             {{ID_WINDOW_NEW, QStringLiteral("&New Window")},
              {ID_WINDOW_CASCADE, QStringLiteral("&Cascade")},
              {ID_WINDOW_TILE_HORZ, QStringLiteral("&Tile")},
              {ID_WINDOW_ARRANGE, QStringLiteral("&Arrange Icons")}}},
            HelpPopup()};
}

QList<Popup> TerminalMenu()
{
    return {{QStringLiteral("&File"), {{ID_APP_EXIT, QStringLiteral("E&xit")}}},
            EditPopup(),
            ViewPopup(),
            {QStringLiteral("&Terminal"),
             {{ID_TERMINAL_EMULATION, QStringLiteral("&Close Terminal")},
              Separator(),
              {ID_RECONNECT, QStringLiteral("Reconnect &Automatically")}}},
            ExtrasPopup(),
            HelpPopup()};
}

} // namespace

QList<CFrameResource::Popup> CFrameResource::Menu(int menuId)
{
    switch (menuId) {
    case IDR_MAINFRAME:
        return MainFrameMenu();
    case IDR_ORVALITYPE:
        return InstrumentMenu();
    case IDR_TERMINALTYPE:
        return TerminalMenu();
    default:
        return {};
    }
}

QList<int> CFrameResource::ToolBar()
{
    return {ID_FILE_OPEN, ID_FILE_SAVE, 0,           ID_EDIT_CUT,  ID_EDIT_COPY,
            ID_EDIT_PASTE, 0,           ID_FILE_PRINT, ID_APP_ABOUT, ID_CONTEXT_HELP};
}

QList<CFrameResource::Accelerator> CFrameResource::Accelerators()
{
    return {{ID_FILE_NEW, QStringLiteral("Ctrl+N")},        {ID_FILE_OPEN, QStringLiteral("Ctrl+O")},
            {ID_FILE_SAVE, QStringLiteral("Ctrl+S")},       {ID_FILE_PRINT, QStringLiteral("Ctrl+P")},
            {ID_EDIT_UNDO, QStringLiteral("Ctrl+Z")},       {ID_EDIT_UNDO, QStringLiteral("Alt+Backspace")},
            {ID_EDIT_CUT, QStringLiteral("Ctrl+X")},        {ID_EDIT_CUT, QStringLiteral("Shift+Del")},
            {ID_EDIT_COPY, QStringLiteral("Ctrl+C")},       {ID_EDIT_COPY, QStringLiteral("Ctrl+Ins")},
            {ID_EDIT_PASTE, QStringLiteral("Ctrl+V")},      {ID_EDIT_PASTE, QStringLiteral("Shift+Ins")},
            {ID_NEXT_PANE, QStringLiteral("F6")},           {ID_PREV_PANE, QStringLiteral("Shift+F6")},
            {ID_HELP, QStringLiteral("F1")},                {ID_CONTEXT_HELP, QStringLiteral("Shift+F1")}};
}
