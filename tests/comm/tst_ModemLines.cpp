// The modem lines of the serial-port back-end: DTR goes up when a channel
// opens its line and down when it closes it, on the descriptor of the line.
//
// A pseudo-terminal refuses the modem-line calls, so this test takes the
// terminal driver's part of them: the requests TIOCMBIS, TIOCMBIC and
// TIOCMGET are answered from a record per descriptor; every other
// request goes to the kernel.
#include "CommTestSupport.h"

#include <dlfcn.h>
#include <sys/ioctl.h>

#include <cstdarg>
#include <map>
#include <mutex>
#include <vector>

namespace {

struct LineCall
{
    int fd;
    unsigned long request;
    int bits;
};

std::mutex g_mutex;
std::map<int, int> g_lines;
std::vector<LineCall> g_calls;

bool IsModemRequest(unsigned long request)
{
    return request == TIOCMBIS || request == TIOCMBIC || request == TIOCMGET;
}

int AnswerModemRequest(int fd, unsigned long request, int* bits)
{
    std::lock_guard lock(g_mutex);
    int& lines = g_lines[fd];
    if (request == TIOCMGET) {
        *bits = lines;
        return 0;
    }
    g_calls.push_back({fd, request, *bits});
    if (request == TIOCMBIS)
        lines |= *bits;
    else
        lines &= ~*bits;
    return 0;
}

std::vector<LineCall> DtrCalls()
{
    std::lock_guard lock(g_mutex);
    std::vector<LineCall> calls;
    for (const LineCall& call : g_calls) {
        if (call.bits & TIOCM_DTR)
            calls.push_back(call);
    }
    return calls;
}

} // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (IsModemRequest(request))
        return AnswerModemRequest(fd, request, static_cast<int*>(argument));
    using Ioctl = int (*)(int, unsigned long, ...);
    static const auto kernel = reinterpret_cast<Ioctl>(dlsym(RTLD_NEXT, "ioctl"));
    return kernel(fd, request, argument);
}

class tst_ModemLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // With and without Rts/Cts flow control.
    void dtrFollowsTheOpenLine()
    {
        for (const int flow : {0, 2}) {
            {
                std::lock_guard lock(g_mutex);
                g_calls.clear();
                g_lines.clear();
            }
            CPtyPair pty;
            CComm channel;
            QVERIFY(channel.OpenPort(Line(PathOf(pty), 9600, 8, 'N', 1, flow)));
            std::vector<LineCall> calls = DtrCalls();
            QCOMPARE(calls.size(), size_t(1));
            QCOMPARE(calls.front().request, TIOCMBIS);
            const int fd = calls.front().fd;

            channel.SetPortOpen(false);
            calls = DtrCalls();
            QCOMPARE(calls.size(), size_t(2));
            QCOMPARE(calls.back().request, TIOCMBIC);
            QCOMPARE(calls.back().fd, fd);
        }
    }
};

QTEST_GUILESS_MAIN(tst_ModemLines)
#include "tst_ModemLines.moc"
