// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/delivery.h"
#include "simulator/deviceoptions.h"
#include "simulator/faults.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace Simulator {

/// The bootloader: sends its banner, and receives a firmware image if the start byte arrives in
/// time. Otherwise it starts the firmware.
///
/// An image arrives in blocks of 16 bytes. The reply to a block is "*", or "." if the block
/// completes the image. If the image size is known, this is the block that reaches it. Otherwise a
/// pause ends the image: the reply to a short last block is then ".", and after a full one "."
/// follows its "*". A rejected or interrupted transfer leaves the old firmware in place. If no byte
/// arrives during a transfer for as long as the bootloader waits for the start byte, it sends its
/// banner again.
class Bootloader : public QObject
{
    Q_OBJECT

public:
    static constexpr int blockSize = 16; ///< bytes

    /// Uses @p faults, which must outlive it.
    Bootloader(Faults &faults, const DeviceOptions &options, QObject *parent = nullptr);

    /// Sends the banner and waits for the start byte.
    void start();

    /// Stops, as after a loss of power.
    void reset();

    /// Receives one byte from the line.
    void feed(char byte);

    /// Sets the size of images in bytes, 0 for unknown.
    void setImageSize(int bytes) { m_imageSize = bytes; }

    /// The image that was received last; empty before the first.
    QByteArray image() const { return m_image; }

signals:
    /// Bytes for the line; @p gapMs is the pause after each byte with Delivery::SingleBytes.
    void output(const QByteArray &bytes, Simulator::Delivery delivery, int gapMs);
    /// A whole image has been received.
    void imageReceived(const QByteArray &image);
    /// The bootloader has ended and the firmware starts.
    void firmwareStarting();

    /// @p bytes bytes of an image have been received.
    void rawBytesReceived(int bytes);

    /// An event for the event log.
    void eventOccurred(const QByteArray &event);

private:
    enum class Phase { Off, Banner, Receiving, Abandoned };

    void onBootWaitTimedOut();
    void onImageIdleTimedOut();
    void endBlock();
    /// Replies to the block that completes the image. @p lastBlockAcknowledged: its "*" has already
    /// been sent.
    void replyToLastBlock(bool lastBlockAcknowledged);
    void finish();

    Faults &m_faults;
    int m_imageSize;
    Phase m_phase = Phase::Off;
    QTimer m_bootWaitTimer;
    QTimer m_imageIdleTimer;
    QByteArray m_incoming;
    int m_blocks = 0; ///< blocks received so far
    QByteArray m_image;
};

} // namespace Simulator
