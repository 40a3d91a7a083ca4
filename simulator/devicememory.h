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
    static constexpr int settingsSize = 64 * blockSize; ///< bytes reserved for the settings

    /// The first half is erased, the second contains calibration data generated from @p seed.
    explicit DeviceMemory(quint32 seed);

    /// Whether there is a block @p index.
    static bool isBlock(int index) { return index >= 0 && index < blockCount; }

    /// The 64 bytes of block @p index, which must exist.
    QByteArray block(int index) const;

    /// Replaces block @p index, which must exist, with @p data, which must have 64 bytes.
    void setBlock(int index, const QByteArray &data);

    /// The text of the settings, without its terminating NUL byte.
    QByteArray settingsText() const;

    /// Stores @p text with a terminating NUL byte, truncated to settingsSize. Returns the number of
    /// bytes stored.
    int storeSettingsText(const QByteArray &text);

    /// All 65536 bytes.
    QByteArray image() const { return m_image; }

    /// Replaces the contents with @p image. Returns false if @p image doesn't have the right size.
    bool setImage(const QByteArray &image);

private:
    QByteArray m_image;
};

} // namespace Simulator
