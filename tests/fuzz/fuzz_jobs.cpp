// SPDX-License-Identifier: GPL-3.0-or-later
// Jobs and their queue with arbitrary bytes from the port. The first byte of the input selects the
// dialogue; the second one, how the following bytes are split into chunks, where time-outs occur
// and whether a queue runs the job.
#include "serial/serialportqueue.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/jobdialogue.h"
#include "tests/kit/signalrecorder.h"

#include <QtCore/QRegularExpression>

namespace {

constexpr int maxSingleBytes = 12; // at the end of an input; more would only be slow

// Determines from one byte how an input is split into chunks and where time-outs occur.
class ChunkPlan
{
public:
    explicit ChunkPlan(uint8_t byte)
        : m_state(byte * 2654435761U + 1U)
        , m_splitting(byte % 4)
        , m_withTimeouts((byte & 0x40U) != 0)
    { }

    bool timesOutHere() { return m_withTimeouts && next() % 6 == 0; }

    uint next() { return (m_state = m_state * 1664525U + 1013904223U) >> 16U; }

    QByteArrayList split(const QByteArray &bytes)
    {
        if (m_splitting == 0) {
            return {bytes};
        }
        QByteArrayList chunks;
        int position = m_splitting == 1 ? qMax(0, bytes.size() - maxSingleBytes) : 0;
        chunks << bytes.left(position);
        while (position < bytes.size()) {
            const int size =
                m_splitting == 1 ? 1 : static_cast<int>(next()) % (bytes.size() / 4 + 2);
            chunks << bytes.mid(position, size);
            position += size;
        }
        return chunks;
    }

private:
    uint m_state;
    int m_splitting;
    bool m_withTimeouts;
};

const QVector<JobDialogue> &dialogues()
{
    static const QVector<JobDialogue> all = allDialogues();
    return all;
}

void timeOutNow(SerialPortJobInterface *job)
{
    FUZZ_ASSERT(QMetaObject::invokeMethod(job, "onTimeOut", Qt::DirectConnection));
}

int maxSendCount(const JobDialogue &dialogue)
{
    constexpr int attempts = 5;
    return attempts * dialogue.command.size() + dialogue.sentAfterReply.size();
}

// A second job, which receives the whole text in one chunk.
struct SingleChunkJob
{
    explicit SingleChunkJob(const JobDialogue &dialogue)
        : job(dialogue.makeJob(&port))
    {
        recorder.record(job.data());
    }

    QStringList signalsAfter(const QString &text)
    {
        job->stop();
        recorder.log.clear();
        job->start();
        port.receive(text);
        return recorder.log;
    }

    FakeSerialPort port;
    SignalRecorder recorder;
    JobPointer job;
};

// The result depends on the text received since the last stop, not on how it was split.
void checkJob(const JobDialogue &dialogue, const QByteArray &bytes, ChunkPlan plan)
{
    FakeSerialPort port;
    SignalRecorder recorder;
    const JobPointer job = dialogue.makeJob(&port);
    recorder.record(job.data());
    job->start();
    SingleChunkJob singleChunkJob(dialogue);
    QString received;
    for (const QByteArray &chunk : plan.split(bytes)) {
        if (plan.timesOutHere()) {
            timeOutNow(job.data());
            FUZZ_ASSERT(recorder.log == QStringList(latin1("timedOut")));
            recorder.log.clear();
            received.clear();
            if (!job->canRestart() || !job->restart()) {
                break;
            }
        }
        const QString text = Fuzzing::asReceived(chunk);
        received += text;
        port.receive(text);
        FUZZ_ASSERT(recorder.log == singleChunkJob.signalsAfter(received));
        if (!recorder.log.isEmpty()) {
            FUZZ_ASSERT(job->isRunning() == !dialogue.stopsItself);
            break;
        }
        FUZZ_ASSERT(job->isRunning());
    }
    FUZZ_ASSERT(port.sent.size() <= maxSendCount(dialogue));
    for (int i = 0; i < port.sent.size() - dialogue.sentAfterReply.size(); ++i) {
        FUZZ_ASSERT(port.sent.at(i) == dialogue.command.at(i % dialogue.command.size()));
    }

    job->stop();
    const QStringList signalsSoFar = recorder.log;
    const QByteArrayList sent = port.sent;
    port.receive(Fuzzing::asReceived(bytes));
    FUZZ_ASSERT(recorder.log == signalsSoFar);
    FUZZ_ASSERT(port.sent == sent);
}

// The types of the jobs that have ended, as the queue reports them.
QStringList endedTypes(const QStringList &log)
{
    QStringList types = log.filter(QRegularExpression(latin1("^queue: jobF")));
    return types.replaceInStrings(QRegularExpression(latin1("^.* ")), QString());
}

// Jobs end in the order in which they were added, no command is sent more often than allowed, and
// an idle queue is empty.
void checkQueue(int first, const QByteArray &bytes, ChunkPlan plan)
{
    const auto port = QSharedPointer<FakeSerialPort>::create();
    SerialPortQueue queue(nullptr);
    SignalRecorder recorder;
    recorder.record(&queue);
    queue.setSerialPort(port);
    QStringList types;
    int maxSends = 0;
    for (int i = 0; i < 3; ++i) {
        const JobDialogue &dialogue = dialogues().at((first + i * 7) % dialogues().size());
        queue.addJob(dialogue.makeJob(port.data()));
        types << enumeratorName(dialogue.type);
        maxSends += maxSendCount(dialogue);
    }
    for (const QByteArray &chunk : plan.split(bytes)) {
        const auto current = queue.currentJob();
        if (current && current->isRunning() && plan.timesOutHere()) {
            timeOutNow(current.data());
        }
        port->receive(Fuzzing::asReceived(chunk));
        const QStringList ends = endedTypes(recorder.log);
        FUZZ_ASSERT(ends == types.mid(0, ends.size()));
        FUZZ_ASSERT(queue.currentJob() ? queue.jobs().size() + ends.size() + 1 == types.size()
                                       : queue.jobs().isEmpty() && ends == types);
        FUZZ_ASSERT(port->sent.size() <= maxSends);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    const int index = data[0] % dialogues().size();
    const QByteArray bytes = Fuzzing::bytesOf(data + 2, size - 2);
    if (data[1] < 0x80) {
        checkJob(dialogues().at(index), bytes, ChunkPlan(data[1]));
    } else {
        checkQueue(index, bytes, ChunkPlan(data[1]));
    }
    return 0;
}
