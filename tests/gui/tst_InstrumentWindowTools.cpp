// What an instrument window offers besides the text, end to end on a
// pseudo-terminal: time stamps, the session log, the hex pane and the
// command line, as the user switches them from the menus.

#include "CCommandLineEdit.h"
#include "CElidedLabel.h"
#include "CHexPane.h"
#include "FrameworkIds.h"
#include "InstrumentWindowFixture.h"
#include "ResourceIds.h"

#include <cerrno>

class tst_InstrumentWindowTools : public QObject, public CInstrumentWindowFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void timeStampsInWindowAndSavedText();
    void failedLogWriteStopsWithMessageLogHoldsWhatTheWindowShows();
    void hexPaneShowsEveryByteValue();
    void commandLineSendsAndWalksHistory();
    void commandLineAppliesTransmitSettingMacrosAndKeepsTextWhileDisconnected();
    void linePaneShowsTheLineAndFreeModemLines();
    void reconnectsWhenTheDeviceComesBackUnlessSwitchedOff();

private:
    // Writes while the window goes on reading, however much it is.
    bool Send(const QByteArray& bytes);
    void TypeCommand(COrvalisView* view, const QString& text);
};

void tst_InstrumentWindowTools::init()
{
    InitFixture();
}

void tst_InstrumentWindowTools::cleanup()
{
    CleanupFixture();
}

bool tst_InstrumentWindowTools::Send(const QByteArray& bytes)
{
    qsizetype done = 0;
    QElapsedTimer timer;
    timer.start();
    while (done < bytes.size() && timer.elapsed() < 30000) {
        const ssize_t n = ::write(m_pty->Master(), bytes.constData() + done, size_t(bytes.size() - done));
        if (n > 0)
            done += n;
        else
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return done == bytes.size();
}

void tst_InstrumentWindowTools::TypeCommand(COrvalisView* view, const QString& text)
{
    CCommandLineEdit* line = view->CommandLine();
    line->setFocus();
    QTest::keyClicks(line, text);
    QTest::keyClick(line, Qt::Key_Return);
}

void tst_InstrumentWindowTools::timeStampsInWindowAndSavedText()
{
    COrvalisView* view = Start(PlainDriver(m_pty->SlaveName()));
    QVERIFY(view);
    QVERIFY(Send("as sent\r\n"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("as sent\n"));

    QVERIFY(Frame()->RouteCommand(ID_TIME_STAMPS));
    // The stamp's form is tst_TextTools'; here the lines after the switch get one.
    QVERIFY(Send("+1.000 g\r\n"));
    const QString stamp = QStringLiteral(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )");
    const QRegularExpression stamped(QStringLiteral("^as sent\n%1\\+1.000 g\n$").arg(stamp));
    QTRY_VERIFY2(stamped.match(view->toPlainText()).hasMatch(), qPrintable(view->toPlainText()));

    // The switch is kept for the driver.
    QVERIFY(Profile(QStringLiteral("Lab/TimeStamps")).toBool());
    QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
    m_app.reset();
    // Started again, stamped from the start; with control characters shown
    // the stamp goes before the line after the line-end names.
    CDriverFile records = PlainDriver(m_pty->SlaveName());
    records.m_Terminal.m_bShowControlChars = 1;
    view = Start(records);
    QVERIFY(view);
    QVERIFY(Frame()->QueryCommand(ID_TIME_STAMPS).bChecked);
    QVERIFY(Send("a\r"));
    QVERIFY(Send("\nb\r\n"));
    const QRegularExpression shown(QStringLiteral("^%1a<CR><LF>\n%1b<CR><LF>\n$").arg(stamp));
    QTRY_VERIFY2(shown.match(view->toPlainText()).hasMatch(), qPrintable(view->toPlainText()));
}

void tst_InstrumentWindowTools::failedLogWriteStopsWithMessageLogHoldsWhatTheWindowShows()
{
    COrvalisView* view = Start(PlainDriver(m_pty->SlaveName()));
    QVERIFY(view);
    m_dialogs->m_saveAnswers = {QStringLiteral("/dev/full")};
    QVERIFY(Frame()->RouteCommand(ID_LOG_TO_FILE));
    QVERIFY(Send("first\r\n"));
    QTRY_COMPARE(m_dialogs->m_messages.size(), 1);
    QVERIFY2(m_dialogs->m_messages.first().contains(QStringLiteral("/dev/full")),
             qPrintable(m_dialogs->m_messages.first()));
    QVERIFY2(
        m_dialogs->m_messages.first().contains(QString::fromLocal8Bit(strerror(ENOSPC)), Qt::CaseInsensitive),
        qPrintable(m_dialogs->m_messages.first()));
    QVERIFY(!Frame()->QueryCommand(ID_LOG_TO_FILE).bChecked);
    // The window goes on, and says it once.
    QVERIFY(Send("second\r\n"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("first\nsecond\n"));
    QTest::qWait(50);
    QCOMPARE(m_dialogs->m_messages.size(), 1);

    // A log that can be written holds what the window shows after it started,
    // however much arrives.
    const qsizetype before = view->toPlainText().size();
    const QString path = Home(QStringLiteral("session.log"));
    m_dialogs->m_saveAnswers = {path};
    QVERIFY(Frame()->RouteCommand(ID_LOG_TO_FILE));
    QVERIFY(Frame()->RouteCommand(ID_TIME_STAMPS));
    QByteArray flood;
    for (int i = 0; i < 20000; ++i)
        flood += "reading " + QByteArray::number(i) + " \xb5g\t+" + QByteArray::number(i * 7 % 1000) + "\r\n";
    QVERIFY(Send(flood));
    QTRY_VERIFY_WITH_TIMEOUT(view->toPlainText().endsWith(QStringLiteral("reading 19999 \u00b5g\t+993\n")),
                             30000);
    QVERIFY(Frame()->RouteCommand(ID_STOP_LOGGING));
    QVERIFY(!Frame()->QueryCommand(ID_LOG_TO_FILE).bChecked);
    QVERIFY(Send("after the log\r\n"));
    QTRY_VERIFY(view->toPlainText().endsWith(QStringLiteral("after the log\n")));
    const QString logged = QString::fromUtf8(ReadFile(path));
    QString shown = view->toPlainText().mid(before);
    shown.chop(shown.size() - shown.lastIndexOf(QLatin1Char('\n'), -2) - 1);
    QCOMPARE(logged.count(QLatin1Char('\n')), 20000);
    QVERIFY(logged == shown);
}

void tst_InstrumentWindowTools::hexPaneShowsEveryByteValue()
{
    COrvalisView* view = Start(PlainDriver(m_pty->SlaveName()));
    QVERIFY(view);
    CHexPane* pane = view->HexPane();
    QVERIFY(pane->isHidden());
    QVERIFY(Send("skipped while hidden"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("skipped while hidden"));

    QVERIFY(Frame()->RouteCommand(ID_HEX_BYTES));
    QVERIFY(pane->isVisible());

    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all += char(b);
    QVERIFY(Send(all));
    // The row format is tst_TextTools'; the offsets count the bytes received
    // while the pane was hidden (20).
    QTRY_COMPARE(pane->toPlainText().count(QLatin1Char('\n')), 15);
    const QStringList rows = pane->toPlainText().split(QLatin1Char('\n'));
    for (int r = 0; r < 16; ++r)
        QVERIFY(rows.at(r).startsWith(QString::asprintf("%08x  %02x ", 20 + 16 * r, 16 * r)));

    // Selected and copied with Edit > Copy (not the text's selection).
    view->selectAll();
    pane->setFocus();
    QTRY_VERIFY(pane->hasFocus());
    QVERIFY(!Frame()->QueryCommand(ID_EDIT_COPY).bEnabled);
    pane->selectAll();
    QVERIFY(Frame()->QueryCommand(ID_EDIT_COPY).bEnabled);
    QVERIFY(Frame()->RouteCommand(ID_EDIT_COPY));
    QCOMPARE(QApplication::clipboard()->text(), pane->toPlainText());
    QVERIFY(Profile(QStringLiteral("Lab/HexBytes")).toBool());
}

void tst_InstrumentWindowTools::commandLineSendsAndWalksHistory()
{
    COrvalisView* view = Start(PlainDriver(m_pty->SlaveName()));
    QVERIFY(view);
    CCommandLineEdit* line = view->CommandLine();
    QVERIFY(line->isVisible());
    QVERIFY(Frame()->QueryCommand(ID_COMMAND_LINE).bChecked);
    // Below the text's scroll bar too, so the bar's bottom end stays usable.
    QVERIFY(Send(QByteArray("reading\r\n").repeated(200)));
    const QScrollBar* bar = view->verticalScrollBar();
    QTRY_VERIFY(bar->isVisible());
    const int barEnd = bar->mapTo(view, QPoint(0, bar->height())).y();
    QVERIFY2(barEnd <= line->geometry().top() && barEnd >= line->geometry().top() - 2,
             qPrintable(QStringLiteral("bar ends at %1, line starts at %2").arg(barEnd).arg(line->geometry().top())));

    TypeCommand(view, QStringLiteral("SI"));
    QCOMPARE(Receive(3), QByteArray("SI\r"));
    QVERIFY(line->text().isEmpty());
    TypeCommand(view, QStringLiteral("<ESC>T<HT>1"));
    QCOMPARE(Receive(5), QByteArray("\x1bT\t1\r"));

    // Walking the history is tst_TextTools'; here the keys reach it.
    QTest::keyClick(line, Qt::Key_Up);
    QCOMPARE(line->text(), QStringLiteral("<ESC>T<HT>1"));
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(Receive(5), QByteArray("\x1bT\t1\r"));

    // Kept for the driver: a new window has the same history.
    const QStringList expected{QStringLiteral("SI"), QStringLiteral("<ESC>T<HT>1")};
    QCOMPARE(Profile(QStringLiteral("Lab/CommandHistory")).toStringList(), expected);

    // Switched off, the line goes and stays off for the driver.
    QVERIFY(Frame()->RouteCommand(ID_COMMAND_LINE));
    QVERIFY(view->CommandLine()->isHidden());
    QVERIFY(!Profile(QStringLiteral("Lab/CommandLine")).toBool());
}

void tst_InstrumentWindowTools::commandLineAppliesTransmitSettingMacrosAndKeepsTextWhileDisconnected()
{
    CDriverFile records = PlainDriver(m_pty->SlaveName());
    records.m_Terminal.m_bSendCRLF = 1;
    COrvalisView* view = Start(records);
    QVERIFY(view);
    TypeCommand(view, QStringLiteral("T"));
    QCOMPARE(Receive(3), QByteArray("T\r\n"));

    // Disconnected: a beep, and the text stays for the next try.
    QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
    QVERIFY(!view->m_comm.IsPortOpen());
    const int beeps = view->BeepCount();
    TypeCommand(view, QStringLiteral("SI"));
    QCOMPARE(view->BeepCount(), beeps + 1);
    QCOMPARE(view->CommandLine()->text(), QStringLiteral("SI"));
    QVERIFY(StatusText().contains(m_pty->SlaveName()));
    QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
    QTest::keyClick(view->CommandLine(), Qt::Key_Return);
    QCOMPARE(Receive(4), QByteArray("SI\r\n"));
}

void tst_InstrumentWindowTools::linePaneShowsTheLineAndFreeModemLines()
{
    COrvalisView* view = Start(PlainDriver(m_pty->SlaveName()));
    QVERIFY(view);
    auto* pane = Frame()->statusBar()->findChild<QLabel*>(QStringLiteral("LinePane"));
    QVERIFY(pane);
    QVERIFY(pane->isVisible());
    const QString line = m_pty->SlaveName() + QStringLiteral("  9600 8N1 None  ");
    // Raised lines are told only by the tooltip, dropped ones by the pane too.
    QCOMPARE(pane->text(), line + QStringLiteral("connected"));
    QCOMPARE(pane->toolTip(), line + QStringLiteral("connected  DTR on  RTS on"));
    QVERIFY(Frame()->QueryCommand(ID_LINE_RTS).bChecked);
    // A narrow window keeps the idle prompt whole; the line pane gives way
    // from the left, keeping the state.
    Frame()->resize(760, 500);
    auto* prompt = Frame()->statusBar()->findChild<QLabel*>(QStringLiteral("Pane0"));
    QTRY_VERIFY(pane->width() < pane->sizeHint().width());
    QVERIFY(prompt->width() >= prompt->fontMetrics().horizontalAdvance(prompt->text()));
    const QString shown = static_cast<CElidedLabel*>(pane)->ShownText();
    QVERIFY2(shown.startsWith(QChar(0x2026)) && shown.endsWith(QStringLiteral("  connected")),
             qPrintable(shown));

    QVERIFY(Frame()->RouteCommand(ID_LINE_RTS));
    QCOMPARE(pane->text(), line + QStringLiteral("connected  RTS off"));
    QVERIFY(!Frame()->QueryCommand(ID_LINE_RTS).bChecked);
    // The line still works with RTS dropped.
    QVERIFY(Send("still here\r\n"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("still here\n"));

    QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
    QCOMPARE(pane->text(), line + QStringLiteral("closed"));
    QVERIFY(!Frame()->QueryCommand(ID_LINE_DTR).bEnabled);
    // Opened again, both lines are raised as at every open.
    QVERIFY(Frame()->RouteCommand(ID_CONNECT_INSTRUMENT));
    QCOMPARE(pane->toolTip(), line + QStringLiteral("connected  DTR on  RTS on"));
    // No window, no line.
    QVERIFY(Frame()->MdiArea()->currentSubWindow()->close());
    QVERIFY(pane->isHidden());
}

void tst_InstrumentWindowTools::reconnectsWhenTheDeviceComesBackUnlessSwitchedOff()
{
    // Reached through a link that survives replugging, as /dev/serial/by-id
    // names do.
    const QString link = Home(QStringLiteral("instrument-tty"));
    QVERIFY(QFile::link(m_pty->SlaveName(), link));
    COrvalisView* view = Start(PlainDriver(link));
    QVERIFY(view && view->m_comm.IsPortOpen());
    QVERIFY(Send("before\r\nhalf"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("before\nhalf"));

    m_pty->CloseMaster();
    // The device is gone, its node with it (a stale link could meet another
    // test's pty that took the same number).
    QVERIFY(QFile::remove(link));
    QTRY_VERIFY(view->IsWaitingForLine());
    const QString status = StatusText();
    QVERIFY2(status.endsWith(QStringLiteral("Waiting for %1\u2026").arg(link)), qPrintable(status));
    auto* pane = Frame()->statusBar()->findChild<QLabel*>(QStringLiteral("LinePane"));
    QVERIFY(pane && pane->text().endsWith(QStringLiteral("  waiting")));

    CPtyPair again;
    QVERIFY(again.IsOpen());
    again.CloseSlave();
    QVERIFY(QFile::link(again.SlaveName(), link));
    QTRY_VERIFY_WITH_TIMEOUT(view->m_comm.IsPortOpen(), 3 * CDeviceWatch::LongestWaitMs());
    QVERIFY(!view->IsWaitingForLine());
    const QString reconnected = StatusText();
    QVERIFY(reconnected.startsWith(QStringLiteral("Reconnected to %1 at ").arg(link)));
    QVERIFY(pane->text().contains(QStringLiteral("  connected")));
    QVERIFY(!view->IsWindowEnabled());
    // Nothing received before the loss is lost.
    QVERIFY(again.WriteMaster(" and after\r\n"));
    QTRY_COMPARE(view->toPlainText(), QStringLiteral("before\nhalf and after\n"));

    // Switched off (its effect is tst_TerminalWindow's): kept for the driver.
    QVERIFY(Frame()->RouteCommand(ID_RECONNECT));
    QVERIFY(!Profile(QStringLiteral("Lab/ReconnectAutomatically")).toBool());
}

QTEST_MAIN(tst_InstrumentWindowTools)
#include "tst_InstrumentWindowTools.moc"
