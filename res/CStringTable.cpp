#include "CStringTable.h"

#include "FrameworkIds.h"
#include "ResourceIds.h"

#include <algorithm>
#include <iterator>

namespace {

struct CEntry
{
    int id;
    const char* text;
};

// Multi-part entries: parts separated by "\n" (file dialogs: default
// extension, filter; commands: name, syntax, example, description).
constexpr CEntry kEntries[] = {
    {IDP_OLE_INIT_FAILED,
     "OLE initialization failed.  Make sure that the OLE libraries are the correct version."},
    {IDR_MAINFRAME, "Orvalis"},
    {IDR_ORVALITYPE, "\nOrvali\nOrvali\n\n\nOrvalis.Document\nOrvali Document"},
    {IDR_TERMINALTYPE, "\nTerminal\nTerminal\n\n\nTerminal.Document\nTerminal Document"},
    {IDS_COMMUNICATION_SETUP, "Communication Setup"},
    {IDS_INSTRUMENT_DRIVER_FILTER, "tbb\nInstrument Drivers (*.tbb)|*.tbb||"},
    {IDS_EMULATIONS, "None\nTTY\nANSI\nVT52\nVT100"},
    {IDS_CONNECT_INSTRUMENT, "&Connect Instrument"},
    {IDS_DISCONNECT_INSTRUMENT, "&Disconnect Instrument"},
    {IDS_ALL_FILES_FILTER, "*\nAll files (*.*)|*.*||"},
    {IDS_TERMINAL_DRIVER_FILTER, "drv\nTerminal Drivers (*.drv)|*.drv||"},
    {IDS_CMD_CHANGECHARACTER,
     "ChangeCharacter\nChangeCharacter(Position, FromCharacter, ToCharacter)\n"
     "ChangeCharacter(0, a, b)\n"
     "Changes the character at the specified position in the output string."},
    {IDS_CMD_CHANGECHARACTERS,
     "ChangeCharacters\nChangeCharacters(FromCharacter, ToCharacter)\nChangeCharacters(a, b)\n"
     "Changes all specified characters in the output string."},
    {IDS_CMD_CHANGESPACES,
     "ChangeSpaces\nChangeSpaces(NewString)\nChangeSpaces(abc)\n"
     "Changes consecutive spaces to NewString in the output string."},
    // The trailing space of the description is part of the text.
    {IDS_CMD_INSERTCHARACTER,
     "InsertCharacter\nInsertCharacter(Position, Character)\nInsertCharacter(0, a)\n"
     "Inserts a character at the specified position in the output string. "},
    {IDS_CMD_REMOVECHARACTERS,
     "RemoveCharacters\nRemoveCharacters(Position, Count)\nRemoveCharacters(0, 1)\n"
     "Removes Count characters from the specified position in the output string."},
    {IDS_CMD_SKIPCHARACTERS,
     "SkipCharacters\nSkipCharacters(Number)\nSkipCharacters(0)\n"
     "Skips a specified number of characters in the output string."},
    {IDS_CMD_TRIMALL,
     "TrimAll\nTrimAll()\nTrimAll()\nRemoves all spaces from the output string."},
    {IDS_CMD_TRIMLEFT,
     "TrimLeft\nTrimLeft()\nTrimLeft()\nRemoves leading spaces from the output string."},
    {AFX_IDS_APP_TITLE, "Orvalis"},
    {AFX_IDS_IDLEMESSAGE, "For Help, press F1"},
    {ID_INDICATOR_CAPS, "CAP"},
    {ID_INDICATOR_NUM, "NUM"},
    {ID_INDICATOR_SCRL, "SCRL        "},

    // ---- Main window: status-bar prompts and tool tips ("prompt\ntip") of
    // the program's commands and of the framework's standard commands, and
    // the messages of the pages' number checks.
    {ID_CONNECT_INSTRUMENT, "Connect / Disconnect Instrument\nConnect/Disconnect"},
    {ID_ADD_INSTRUMENT, "Adds new Instruments\nNew Instruments"},
    {ID_TERMINAL_EMULATION, "Select terminal emulation (TTY, VT52, VT100)\nEmulation"},
    {ID_OPTIONS, "Specify user options\nOptions"},
    {ID_MODIFY_INSTRUMENT, "Modifies Instrument Parameters\nModify"},
    {ID_V24_PRINTER, "Output of serial printer data to PC printer\nV24 Printer"},
    {ID_V24_PRINTER_SETTINGS, "Settings of the serial printer line (v24print.drv)\nV24 Printer Settings"},
    {ID_LOG_TO_FILE, "Append every line shown to a file\nLog to File"},
    {ID_STOP_LOGGING, "Stop appending the lines shown to the log file\nStop Logging"},
    {ID_TIME_STAMPS, "Show the local time before every received line\nTime Stamps"},
    {ID_TIME_STAMP_COLUMN, "Write the time of each row into its first spreadsheet column\nTime Stamp Column"},
    {ID_HEX_BYTES, "Show the received bytes in hex below the text\nHex Bytes"},
    {ID_COMMAND_LINE, "Show a line to type commands into below the text\nCommand Line"},
    {ID_LINE_DTR, "Switch the DTR line on or off\nDTR"},
    {ID_LINE_RTS, "Switch the RTS line on or off\nRTS"},
    {ID_RECONNECT, "Open the line again when its device comes back after a loss\nReconnect Automatically"},
    {ID_SEND_FILE, "Send a file\nSend"},
    {ID_ADD_TERMINAL, "Adds new Terminal\nNew Terminal"},
    {ID_MODIFY_TERMINAL, "Modifies Terminal Parameters\nModify"},
    {ID_STOP_TRANSMISSION, "Stop Transmission\nStop"},
    {ID_FILE_NEW, "Create a new document\nNew"},
    {ID_FILE_OPEN, "Open an existing document\nOpen"},
    {ID_FILE_CLOSE, "Close the active document\nClose"},
    {ID_FILE_SAVE, "Save the active document\nSave"},
    {ID_FILE_SAVE_AS, "Save the active document with a new name\nSave As"},
    {ID_FILE_PRINT_SETUP, "Change the printer and printing options\nPrint Setup"},
    {ID_FILE_PRINT, "Print the active document\nPrint"},
    {ID_FILE_PRINT_PREVIEW, "Display full pages\nPrint Preview"},
    {ID_FILE_MRU_FILE1, "Open this document"},
    {ID_FILE_MRU_FILE1 + 1, "Open this document"},
    {ID_FILE_MRU_FILE1 + 2, "Open this document"},
    {ID_FILE_MRU_FILE1 + 3, "Open this document"},
    {ID_EDIT_UNDO, "Undo the last action\nUndo"},
    {ID_EDIT_CUT, "Cut the selection and put it on the Clipboard\nCut"},
    {ID_EDIT_COPY, "Copy the selection and put it on the Clipboard\nCopy"},
    {ID_EDIT_PASTE, "Insert Clipboard contents\nPaste"},
    {ID_WINDOW_NEW, "Open another window for the active document\nNew Window"},
    {ID_WINDOW_ARRANGE, "Arrange icons at the bottom of the window\nArrange Icons"},
    {ID_WINDOW_CASCADE, "Arrange windows so they overlap\nCascade Windows"},
    {ID_WINDOW_TILE_HORZ, "Arrange windows as non-overlapping tiles\nTile Windows"},
    {ID_APP_ABOUT, "Display program information, version number and copyright\nAbout"},
    {ID_APP_EXIT, "Quit the application; prompts to save documents\nExit"},
    {ID_HELP_FINDER, "List Help topics\nHelp Topics"},
    {ID_CONTEXT_HELP, "Display help for clicked buttons, menus and windows\nHelp"},
    {ID_HELP, "Display help for current task or command\nHelp"},
    {ID_VIEW_TOOLBAR, "Show or hide the toolbar\nToggle ToolBar"},
    {ID_VIEW_STATUS_BAR, "Show or hide the status bar\nToggle StatusBar"},
    {AFX_IDP_PARSE_INT, "Please enter an integer."},
    {AFX_IDP_PARSE_INT_RANGE, "Please enter an integer between %1 and %2."},
};

// Windows-1252 bytes 0x80..0x9F; the other bytes equal their Unicode value.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

} // namespace

QByteArray CStringTable::Get(int id)
{
    const auto entry = std::find_if(std::begin(kEntries), std::end(kEntries),
                                    [id](const CEntry& e) { return e.id == id; });
    return entry == std::end(kEntries) ? QByteArray() : QByteArray(entry->text);
}

QString CStringTable::Text(int id)
{
    const QByteArray bytes = Get(id);
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += (value >= 0x80 && value < 0xA0) ? QChar(kCp1252High[value - 0x80]) : QChar(value);
    }
    return text;
}
