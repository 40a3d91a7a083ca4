// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/devicememory.h"

#include "simulator/pseudorandom.h"

namespace Simulator {

DeviceMemory::DeviceMemory(quint32 seed)
    : m_image(blockSize * blockCount, '\xff')
{
    for (int offset = m_image.size() / 2; offset < m_image.size(); ++offset) {
        m_image[offset] = static_cast<char>(noise(seed, static_cast<quint64>(offset)) & 0xffU);
    }
}

QByteArray DeviceMemory::block(int index) const
{
    return m_image.mid(index * blockSize, blockSize);
}

void DeviceMemory::setBlock(int index, const QByteArray &data)
{
    m_image.replace(index * blockSize, blockSize, data);
}

QByteArray DeviceMemory::settingsText() const
{
    const QByteArray area = m_image.left(settingsSize);
    return area.left(area.indexOf('\0'));
}

int DeviceMemory::storeSettingsText(const QByteArray &text)
{
    const QByteArray stored = text.left(settingsSize - 1) + '\0';
    m_image.replace(0, stored.size(), stored);
    return stored.size();
}

bool DeviceMemory::setImage(const QByteArray &image)
{
    if (image.size() != m_image.size()) {
        return false;
    }
    m_image = image;
    return true;
}

} // namespace Simulator
