// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>

namespace Simulator {

/// The non-volatile memory: 1024 blocks of 64 bytes. The settings stand as text at its front.
class DeviceMemory
{
public:
    static constexpr int blockSize = 64; ///< bytes
    static constexpr int blockCount = 1024; ///< of the whole memory
    static constexpr int settingsSize = 64 * blockSize; ///< bytes kept for the settings

    /// Blank at the front, made-up calibration data from the middle on, decided by @p seed.
    explicit DeviceMemory(quint32 seed);

    /// Whether there is a block @p index.
    static bool isBlock(int index) { return index >= 0 && index < blockCount; }

    /// The 64 bytes of block @p index, which must be one.
    QByteArray block(int index) const;

    /// Puts @p data, which must have 64 bytes, into block @p index, which must be one.
    void setBlock(int index, const QByteArray &data);

    /// The text at the front, up to its closing zero byte.
    QByteArray settingsText() const;

    /// Stores @p text, cut to the room there is, with a zero byte behind it. Returns the bytes
    /// stored.
    int storeSettingsText(const QByteArray &text);

    /// All 65536 bytes.
    QByteArray image() const { return m_image; }

    /// Takes over @p image when it has the right size; false otherwise.
    bool setImage(const QByteArray &image);

private:
    QByteArray m_image;
};

} // namespace Simulator
