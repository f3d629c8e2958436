// What tools/run.sh shows a newcomer: the simulated balance on its link, the
// example driver pointed at it, readings in the instrument window, and the
// function keys answered by the balance.

#include "CDriverFile.h"
#include "CMainFrame.h"
#include "COrvalisApp.h"
#include "COrvalisView.h"
#include "ResourceIds.h"
#include "WidgetTestIncludes.h"

class tst_DemoBalance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("ORVALIS_HOME", m_home->path().toLocal8Bit());
    }

    void cleanup()
    {
        m_simulator.terminate();
        m_simulator.waitForFinished(5000);
        m_home.reset();
        qunsetenv("ORVALIS_HOME");
    }

    // A reading when Print is pressed (the simulator's own timing is
    // tst_balance_sim's).
    void readingsArriveAndKeysAreAnswered()
    {
        const QString link = QDir(m_home->path()).filePath(QStringLiteral("balance-sim-tty"));
        m_simulator.start(QStringLiteral(ORVALIS_BALANCE_SIM),
                          {QStringLiteral("--link"), link, QStringLiteral("--interval"), QStringLiteral("0"),
                           QStringLiteral("--seed"), QStringLiteral("7")});
        QVERIFY(m_simulator.waitForReadyRead(5000));

        CDriverFile balance;
        QVERIFY(balance.Load(QStringLiteral(ORVALIS_SOURCE_DIR "/res/examples/Balance.tbb")).IsOk());
        balance.m_Comm.m_nConnector = -1;
        balance.m_Comm.m_strConnector = link.toLocal8Bit();
        QVERIFY(balance.Store(QDir(m_home->path()).filePath(QStringLiteral("Balance-sim.tbb"))).IsOk());

        COrvalisApp app(QDir(m_home->path()).filePath(QStringLiteral("Orvalis.ini")));
        QVERIFY(app.InitInstance({QStringLiteral("/DBalance-sim.tbb")}));
        auto* view = qobject_cast<COrvalisView*>(app.MainFrame()->ActiveView());
        QVERIFY(view);
        QVERIFY2(view->m_comm.IsPortOpen(), qPrintable(view->LineProblem()));
        QVERIFY(app.MainFrame()->RouteCommand(ID_FUNCTION_KEY_F1));
        // The example's script: leading blanks go, blanks become cell separators.
        const QRegularExpression reading(QStringLiteral("^N\\t[+-]\\d+\\.\\d{3}\\tg$"), QRegularExpression::MultilineOption);
        QTRY_VERIFY2_WITH_TIMEOUT(reading.match(view->toPlainText()).hasMatch(), qPrintable(view->toPlainText()), 5000);
        view->GetDocument().SetModifiedFlag(false);
    }

private:
    std::unique_ptr<QTemporaryDir> m_home;
    QProcess m_simulator;
};

QTEST_MAIN(tst_DemoBalance)
#include "tst_DemoBalance.moc"
