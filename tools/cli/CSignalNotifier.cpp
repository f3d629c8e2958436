#include "CSignalNotifier.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The handler may only touch these: written once before it is installed.
int g_nPipe[2] = {-1, -1};
struct sigaction g_previousInt;
struct sigaction g_previousTerm;

volatile sig_atomic_t g_nRaised = 0;

// The first signal asks for a clean end; a second one ends the process at
// once, whatever the first is still waiting for.
void OnSignal(int signalNumber)
{
    if (g_nRaised != 0)
        ::_exit(128 + signalNumber);
    g_nRaised = 1;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    const int saved = errno;
    [[maybe_unused]] const ssize_t n = ::write(g_nPipe[1], &byte, 1);
    errno = saved;
}

} // namespace

CSignalNotifier::CSignalNotifier()
{
    if (::pipe2(g_nPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    g_nRaised = 0;
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &g_previousInt);
    sigaction(SIGTERM, &action, &g_previousTerm);
    m_pNotifier = std::make_unique<QSocketNotifier>(g_nPipe[0], QSocketNotifier::Read);
    connect(m_pNotifier.get(), &QSocketNotifier::activated, this, &CSignalNotifier::OnReadable);
}

CSignalNotifier::~CSignalNotifier()
{
    if (!m_pNotifier)
        return;
    sigaction(SIGINT, &g_previousInt, nullptr);
    sigaction(SIGTERM, &g_previousTerm, nullptr);
    m_pNotifier.reset();
    ::close(g_nPipe[0]);
    ::close(g_nPipe[1]);
    g_nPipe[0] = g_nPipe[1] = -1;
}

void CSignalNotifier::OnReadable()
{
    unsigned char byte = 0;
    while (::read(g_nPipe[0], &byte, 1) == 1)
        Q_EMIT Raised(byte);
}
