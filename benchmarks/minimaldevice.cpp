// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/minimaldevice.h"

#include "common/utils.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

const char prompt[] = "\r\nKVT $ ";
const char titles[] = "Time,A3,A0,A1,P1,W0,W1,W2,FLOW";
const char record[] = "2026-11-21T10:20:30,12.4,0.0380,31.2,24.6,18.07,52.1,1009.3,0.702";
const char readLogRow[] = "log --read=";
const char show[] = "show ";

/// A line of the log with its checksum.
std::string logLine(int index, const char *text, int checksum)
{
    char line[256];
    const int size = std::snprintf(line, sizeof line, "%05d=%s#%02x", index, text, checksum);
    return std::string(line, static_cast<std::size_t>(size));
}

/// The replies of the console to the commands that the benchmarks use.
class Console
{
public:
    explicit Console(const std::atomic<int> &logRows)
        : m_logRows(logRows)
        , m_titlesChecksum(crc8(titles, sizeof titles - 1))
        , m_recordChecksum(crc8(record, sizeof record - 1))
    { }

    std::string reply(const std::string &command) const
    {
        std::string text;
        if (command.compare(0, sizeof readLogRow - 1, readLogRow) == 0) {
            const int index = std::atoi(command.c_str() + sizeof readLogRow - 1);
            text = index == 0 ? logLine(0, titles, m_titlesChecksum)
                              : logLine(index, record, m_recordChecksum);
        } else if (command == "log --count") {
            text = "count=" + std::to_string(m_logRows.load());
        } else if (command.compare(0, sizeof show - 1, show) == 0) {
            text = "show: " + command.substr(sizeof show - 1) + "=120";
        }
        return prompt + command + "\r\n" + text + prompt;
    }

private:
    const std::atomic<int> &m_logRows;
    int m_titlesChecksum;
    int m_recordChecksum;
};

void waitReadable(int descriptor)
{
    pollfd polled = {descriptor, POLLIN, 0};
    poll(&polled, 1, -1);
}

void writeAll(int descriptor, const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0) {
            std::_Exit(1);
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
}

/// Replies until the process is killed. A command has a line end before and after it.
[[noreturn]] void serve(int master, const Console &console)
{
    std::string request;
    char bytes[256];
    for (;;) {
        waitReadable(master);
        const ssize_t count = read(master, bytes, sizeof bytes);
        if (count <= 0) {
            std::_Exit(1);
        }
        request.append(bytes, static_cast<std::size_t>(count));
        if (request.size() > 4 && request.back() == '\n') {
            const std::string reply = console.reply(request.substr(2, request.size() - 4));
            writeAll(master, reply.data(), reply.size());
            request.clear();
        }
    }
}

} // namespace

MinimalDevice::MinimalDevice()
{
    void *shared = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (shared == MAP_FAILED || master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        return;
    }
    m_logRows = new (shared) std::atomic<int>(0);
    const QByteArray path = ptsname(master);
    m_client = open(path.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = {};
    tcgetattr(m_client, &settings);
    cfmakeraw(&settings);
    tcsetattr(m_client, TCSANOW, &settings);
    m_process = fork();
    if (m_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        serve(master, Console(*m_logRows));
    }
    close(master);
    if (m_process > 0) {
        m_port = QString::fromLocal8Bit(path);
    }
}

MinimalDevice::~MinimalDevice()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_client);
    munmap(m_logRows, sizeof(std::atomic<int>));
}

void MinimalDevice::exchange(const QByteArray &command)
{
    const QByteArray request = "\r\n" + command + "\r\n";
    writeAll(m_client, request.constData(), static_cast<std::size_t>(request.size()));
    char bytes[512];
    // The first prompt is the reply to the line end before the command; the second one ends the
    // reply to the command.
    for (std::ptrdiff_t prompts = 0; prompts < 2;) {
        waitReadable(m_client);
        const ssize_t count = read(m_client, bytes, sizeof bytes);
        if (count <= 0) {
            return;
        }
        prompts += std::count(bytes, bytes + count, '$');
    }
}
