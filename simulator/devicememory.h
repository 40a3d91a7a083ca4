// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>

namespace Simulator {

/// The non-volatile memory: 1024 blocks of 64 bytes. It begins with the settings, as text.
class DeviceMemory
{
public:
    static constexpr int blockSize = 64; ///< bytes
    static constexpr int blockCount = 1024; ///< of the whole memory
    static constexpr int settingsSize = 64 * blockSize; ///< bytes kept for the settings

    /// Erased in the first half, with generated calibration data in the second, from @p seed.
    explicit DeviceMemory(quint32 seed);

    /// Whether there is a block @p index.
    static bool isBlock(int index) { return index >= 0 && index < blockCount; }

    /// The 64 bytes of block @p index, which must be one.
    QByteArray block(int index) const;

    /// Puts @p data, which must have 64 bytes, into block @p index, which must be one.
    void setBlock(int index, const QByteArray &data);

    /// The text of the settings, up to its terminating zero byte.
    QByteArray settingsText() const;

    /// Stores @p text, truncated to settingsSize, with a terminating zero byte. Returns the bytes
    /// stored.
    int storeSettingsText(const QByteArray &text);

    /// All 65536 bytes.
    QByteArray image() const { return m_image; }

    /// Replaces the contents by @p image if it has the right size; false otherwise.
    bool setImage(const QByteArray &image);

private:
    QByteArray m_image;
};

} // namespace Simulator
