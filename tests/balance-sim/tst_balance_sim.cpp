#include "TestIncludes.h"

#include <poll.h>
#include <termios.h>

namespace {

const QRegularExpression ReadingLine(QStringLiteral("^N +[+-]\\d+\\.\\d{3} g\\r\\n$"));

// The instrument end of the line, opened like a driver opens a port.
class Line
{
public:
    explicit Line(const QString& path)
    {
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        if (m_fd >= 0) {
            termios raw{};
            ::tcgetattr(m_fd, &raw);
            ::cfmakeraw(&raw);
            ::tcsetattr(m_fd, TCSANOW, &raw);
        }
    }
    ~Line()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    bool IsOpen() const { return m_fd >= 0; }

    void Send(const QByteArray& bytes)
    {
        QCOMPARE(::write(m_fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    }

    // The next CR LF line, or "" when none arrives within timeoutMs.
    QByteArray ReadLine(int timeoutMs = 3000)
    {
        QDeadlineTimer deadline(timeoutMs);
        while (true) {
            const qsizetype end = m_pending.indexOf("\r\n");
            if (end >= 0) {
                const QByteArray line = m_pending.left(end + 2);
                m_pending.remove(0, end + 2);
                return line;
            }
            pollfd wait{m_fd, POLLIN, 0};
            if (deadline.hasExpired() || ::poll(&wait, 1, int(deadline.remainingTime())) <= 0)
                return {};
            char buffer[256];
            const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
            if (n <= 0)
                return {}; // the simulator has gone
            m_pending.append(buffer, int(n));
        }
    }

private:
    int m_fd = -1;
    QByteArray m_pending;
};

double WeightOf(const QByteArray& line)
{
    return line.mid(1, line.indexOf('g') - 1).trimmed().toDouble();
}

} // namespace

class tst_balance_sim : public QObject
{
    Q_OBJECT

private:
    // Starts the simulator and returns the slave path it prints first.
    QString Start(QProcess& sim, const QStringList& arguments)
    {
        sim.setProgram(QStringLiteral(ORVALIS_BALANCE_SIM));
        sim.setArguments(arguments);
        sim.start();
        if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000))
            return {};
        return QString::fromLocal8Bit(sim.readLine().trimmed());
    }

private Q_SLOTS:
    // One simulator answers them all in turn, nothing else follows; its
    // link leads to the line and goes when it ends, however it is ended.
    void answersCommandsAndItsLinkGoesAtExit()
    {
        const QList<QPair<QByteArray, QString>> exchanges{
            {"XYZ\r", QStringLiteral("^ES\\r\\n$")},
            {QByteArray(200, 'S') + "\r", QStringLiteral("^ES\\r\\n$")}, // overlong: one error
        };
        // Tare and zero each bring the readings near zero.
        for (const bool interrupt : {false, true}) {
            const QByteArray command = interrupt ? "Z\r\n" : "T\r";
            QTemporaryDir dir;
            const QString link = dir.filePath(QStringLiteral("balance"));
            // A stale link of a killed simulator is replaced.
            QVERIFY(QFile::link(QStringLiteral("/nonexistent"), link));
            QProcess sim;
            const QString path =
                Start(sim, {QStringLiteral("--interval"), QStringLiteral("0"), QStringLiteral("--weight"),
                            QStringLiteral("250.5"), QStringLiteral("--seed"), QStringLiteral("7"),
                            QStringLiteral("--link"), link});
            QVERIFY2(!path.isEmpty(), qPrintable(sim.readAllStandardError()));
            QCOMPARE(QFileInfo(link).symLinkTarget(), path);
            {
                Line line(link);
                QVERIFY(line.IsOpen());
                line.Send("SI\r");
                QVERIFY(qAbs(WeightOf(line.ReadLine()) - 250.5) < 0.1);
                line.Send(command + "SI\r");
                QVERIFY(!line.ReadLine().isEmpty()); // the acknowledgement
                const QByteArray reading = line.ReadLine();
                QVERIFY2(ReadingLine.match(QString::fromLatin1(reading)).hasMatch(), reading.constData());
                QVERIFY2(qAbs(WeightOf(reading)) < 0.1, reading.constData());
                for (const auto& [sent, answer] : exchanges) {
                    line.Send(sent);
                    const QByteArray reply = line.ReadLine();
                    QVERIFY2(QRegularExpression(answer).match(QString::fromLatin1(reply)).hasMatch(),
                             reply.constData());
                }
                // No unsolicited readings at interval 0.
                if (!interrupt)
                    QCOMPARE(line.ReadLine(150), QByteArray());
            }
            if (interrupt)
                ::kill(pid_t(sim.processId()), SIGINT);
            else
                sim.terminate();
            QVERIFY(sim.waitForFinished(5000));
            QCOMPARE(sim.exitStatus(), QProcess::NormalExit);
            QCOMPARE(sim.exitCode(), 0);
            QVERIFY(!QFileInfo::exists(link) && !QFileInfo(link).isSymLink());
        }
    }

    void refusesBadOptions()
    {
        const QList<QPair<QStringList, QString>> rows{
            {{"--link", ORVALIS_SOURCE_DIR "/CMakeLists.txt"}, "is not a symbolic link"},
        };
        for (const auto& [arguments, message] : rows) {
            QProcess sim;
            sim.start(QStringLiteral(ORVALIS_BALANCE_SIM), arguments);
            QVERIFY(sim.waitForFinished(5000));
            QVERIFY(sim.exitCode() != 0);
            QVERIFY(sim.readAllStandardOutput().isEmpty());
            const QString error = QString::fromLocal8Bit(sim.readAllStandardError());
            QVERIFY2(error.contains(message), qPrintable(error));
        }
    }
};

QTEST_GUILESS_MAIN(tst_balance_sim)
#include "tst_balance_sim.moc"
