// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/bootloader.h"

namespace Simulator {

namespace {

const char banner[] = "\r\nOrvanta KVT BOOT";
const char accepted[] = "*";
const char rejected[] = "!";
const char done[] = ".";
constexpr char startByte = 'b';

} // namespace

Bootloader::Bootloader(Faults &faults, const DeviceOptions &options, QObject *parent)
    : QObject(parent)
    , m_faults(faults)
    , m_imageSize(options.imageSize)
{
    m_bootWaitTimer.setSingleShot(true);
    m_bootWaitTimer.setInterval(options.bootWaitMs);
    connect(&m_bootWaitTimer, &QTimer::timeout, this, &Bootloader::onBootWaitTimedOut);
    m_imageIdleTimer.setSingleShot(true);
    m_imageIdleTimer.setInterval(options.imageIdleMs);
    connect(&m_imageIdleTimer, &QTimer::timeout, this, &Bootloader::onImageIdleTimedOut);
}

void Bootloader::start()
{
    reset();
    m_phase = Phase::Banner;
    m_bootWaitTimer.start();
    emit eventOccurred("bootloader");
    if (m_faults.triggersAt(DeviceFaultKind::BootWithLineEnd, 0)) {
        emit output(banner + QByteArray("\r\n"), Delivery::OneChunk, 0);
    } else {
        emit output(banner, Delivery::Streamed, 0);
    }
}

void Bootloader::reset()
{
    m_phase = Phase::Off;
    m_bootWaitTimer.stop();
    m_imageIdleTimer.stop();
    m_incoming.clear();
    m_blocks = 0;
}

void Bootloader::feed(char byte)
{
    switch (m_phase) {
    case Phase::Off:
        break;
    case Phase::Banner:
        if (byte == startByte) {
            m_phase = Phase::Receiving;
            m_bootWaitTimer.start();
            emit eventOccurred("image begins");
        }
        break;
    case Phase::Abandoned:
        m_bootWaitTimer.start();
        break;
    case Phase::Receiving: {
        m_bootWaitTimer.start();
        m_incoming += byte;
        const bool complete = m_imageSize > 0 && m_incoming.size() >= m_imageSize;
        if (m_imageSize == 0) {
            m_imageIdleTimer.start();
        }
        if (complete || m_incoming.size() % blockSize == 0) {
            endBlock();
        }
        // Last, because a slot may hang up the line, and the block must be complete before that.
        emit rawBytesReceived(1);
        break;
    }
    }
}

void Bootloader::onBootWaitTimedOut()
{
    if (m_phase == Phase::Banner || (m_phase == Phase::Receiving && m_incoming.isEmpty())) {
        reset();
        emit firmwareStarting();
        return;
    }
    emit eventOccurred("image abandoned");
    start();
}

void Bootloader::onImageIdleTimedOut()
{
    if (m_incoming.size() % blockSize != 0) {
        endBlock();
        if (m_phase == Phase::Receiving) {
            replyToLastBlock(false);
        }
    } else {
        replyToLastBlock(true);
    }
}

void Bootloader::endBlock()
{
    const int remainder = m_incoming.size() % blockSize;
    const int size = remainder == 0 ? blockSize : remainder;
    ++m_blocks;
    emit eventOccurred("block " + QByteArray::number(m_blocks) + ", " + QByteArray::number(size)
                       + " bytes");
    const bool isRejected = m_faults.triggersAt(DeviceFaultKind::BlockRejected, m_blocks);
    if (isRejected || m_faults.triggersAt(DeviceFaultKind::BlockUnanswered, m_blocks)) {
        m_phase = Phase::Abandoned;
        m_imageIdleTimer.stop();
        if (isRejected) {
            emit output(rejected, Delivery::OneChunk, 0);
        }
        return;
    }
    const bool complete = m_imageSize > 0 && m_incoming.size() >= m_imageSize;
    if (complete) {
        replyToLastBlock(false);
    } else if (remainder == 0) {
        constexpr DeviceFaultKind kind = DeviceFaultKind::BlockRepliesInOneChunk;
        // Without a place the fault affects only the last block, see replyToLastBlock().
        const bool affectsBlock =
            m_faults.active(kind) == nullptr && m_faults.triggersAt(kind, m_blocks);
        emit output(affectsBlock ? "*." : accepted, Delivery::OneChunk, 0);
    }
}

void Bootloader::replyToLastBlock(bool lastBlockAcknowledged)
{
    // Before the reply, so that the image exists when a client has read the reply.
    m_image = m_incoming;
    emit imageReceived(m_image);
    if (m_faults.triggersAt(DeviceFaultKind::FinalStar, m_blocks)) {
        if (!lastBlockAcknowledged) {
            emit output(accepted, Delivery::OneChunk, 0);
        }
    } else if (m_faults.triggersAt(DeviceFaultKind::BlockRepliesInOneChunk, m_blocks)) {
        emit output(lastBlockAcknowledged ? done : "*.", Delivery::OneChunk, 0);
    } else {
        emit output(done, Delivery::OneChunk, 0);
    }
    finish();
}

void Bootloader::finish()
{
    reset();
    emit eventOccurred("image " + QByteArray::number(m_image.size()) + " bytes");
    emit firmwareStarting();
}

} // namespace Simulator
