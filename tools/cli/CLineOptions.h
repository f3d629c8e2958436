#pragma once

#include <QCommandLineOption>
#include <QString>

class CComm;
class CCommParameter;
class CConsoleSerialPrompt;
class CFunctionKeysParameter;
class QCommandLineParser;

// The options "capture" and "send" share: --port NAME (another line than
// the driver's), --serial N (the number of "^$S" macros) and --key N (send
// function key N, 1..8, of the driver).
class CLineOptions
{
public:
    explicit CLineOptions(QCommandLineParser& parser);

    // Checks --serial and --key after parsing; false with the message
    // (which starts with the option) on a bad value.
    bool Check(CConsoleSerialPrompt& prompt, QString& error);
    bool HasKey() const;
    // Opens the line of the record, or the one of --port; false with the
    // channel's reason.
    bool OpenPort(CComm& comm, CCommParameter& parameters, QString& error) const;
    // Sends the command of --key, when given; false when the key has no name
    // (the window beeps for such a key and sends nothing).
    bool SendKey(CComm& comm, const CFunctionKeysParameter& keys, QString& error) const;

    // A playback file name of the command line, in the program folder.
    static QString InProgramFolder(const QString& name);
    // "COM1 at 9600 baud, 8 data bits, parity N, 1 stop bit".
    static QString Describe(const CCommParameter& parameters);

private:
    QCommandLineParser& m_parser;
    QCommandLineOption m_port;
    QCommandLineOption m_serial;
    QCommandLineOption m_key;
    int m_nKey = 0;
};
