// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/delivery.h"
#include "simulator/deviceoptions.h"
#include "simulator/faults.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace Simulator {

/// The bootloader: sends its greeting, and receives an image when the start byte arrives in time.
///
/// An image comes in blocks of 16 bytes, each answered "*"; "." answers the block that completes
/// it. With a known image size that is the block which reaches the size. Otherwise a pause ends the
/// image: a short last block is then answered ".", and after a full one a "." follows its "*".
/// A refused or interrupted transfer leaves the old firmware in place. When nothing arrives for as
/// long as the wait for the first byte, the bootloader sends its greeting again.
class Bootloader : public QObject
{
    Q_OBJECT

public:
    static constexpr int blockSize = 16; ///< bytes

    /// Uses @p faults, which must outlive it.
    Bootloader(Faults &faults, const DeviceOptions &options, QObject *parent = nullptr);

    /// Sends the greeting and waits for the start byte.
    void start();

    /// Stops, as a loss of power does.
    void reset();

    /// Takes one byte from the line.
    void feed(char byte);

    /// The size of images from the next start on, 0 for unknown.
    void setImageSize(int bytes) { m_imageSize = bytes; }

    /// The image that was taken last; empty before the first.
    QByteArray image() const { return m_image; }

signals:
    /// Bytes for the line; @p gapMs is the pause after each byte with Delivery::SingleBytes.
    void output(const QByteArray &bytes, Simulator::Delivery delivery, int gapMs);
    /// A whole image has been taken.
    void imageTaken(const QByteArray &image);
    /// The bootloader leaves and the firmware starts.
    void firmwareStarting();

    /// So many bytes of an image have been taken.
    void rawBytesTaken(int bytes);

    /// An event for the event log.
    void eventOccurred(const QByteArray &event);

private:
    enum class Phase { Off, Greeting, Taking, Abandoned };

    void onWaited();
    void onPaused();
    void endBlock();
    void answerLastBlock(bool acknowledged);
    void finish();

    Faults &m_faults;
    int m_imageSize;
    Phase m_phase = Phase::Off;
    QTimer m_wait;
    QTimer m_pause;
    QByteArray m_incoming;
    int m_blocks = 0; ///< complete blocks so far
    QByteArray m_image;
};

} // namespace Simulator
