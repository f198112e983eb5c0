#include "pseudo_terminal.h"

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

constexpr int kPatienceMs = 5000;

PseudoTerminal::PseudoTerminal() : m_file(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
{
    char name[64] = "";
    if (m_file < 0 || grantpt(m_file) != 0 || unlockpt(m_file) != 0 ||
        ptsname_r(m_file, name, sizeof name) != 0)
        throw std::runtime_error("no pseudo-terminal to be had");
    m_device = name;
}

PseudoTerminal::~PseudoTerminal() { HangUp(); }

void PseudoTerminal::HangUp()
{
    if (m_file >= 0) (void)close(m_file);
    m_file = -1;
}

void PseudoTerminal::Send(const std::string &bytes) const
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t done = write(m_file, bytes.data() + sent, bytes.size() - sent);
        if (done > 0) {
            sent += static_cast<size_t>(done);
            continue;
        }
        pollfd entry = {m_file, POLLOUT, 0};
        if (poll(&entry, 1, kPatienceMs) <= 0) throw std::runtime_error("nobody reads");
    }
}

std::string PseudoTerminal::Receive(size_t count) const
{
    std::string bytes;
    while (bytes.size() < count) {
        pollfd entry = {m_file, POLLIN, 0};
        if (poll(&entry, 1, kPatienceMs) <= 0) break;
        char byte = 0;
        if (read(m_file, &byte, 1) == 1) bytes += byte;
    }
    return bytes;
}

std::string PseudoTerminal::ReceiveNow() const
{
    std::string bytes;
    char byte = 0;
    while (read(m_file, &byte, 1) == 1)
        bytes += byte;
    return bytes;
}
