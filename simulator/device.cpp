// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/device.h"

#include "simulator/pseudorandom.h"

#include <QtCore/QSaveFile>

namespace Simulator {

namespace {

constexpr int firmwareStartMs = 200;
constexpr int chatterFaultMs = 100;
constexpr int chatterDebugMs = 500;

} // namespace

Device::Device(const DeviceOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_state(options)
    , m_console(m_state, m_faults, options)
    , m_bootloader(m_faults, options)
{
    connect(&m_faults, &Faults::triggered, this,
            [this](const QByteArray &text) { emit eventOccurred("fault " + text); });
    connect(&m_console, &DeviceConsole::output, this, &Device::send);
    connect(&m_console, &DeviceConsole::idle, this, &Device::process);
    connect(&m_console, &DeviceConsole::resetting, this, &Device::onResetting);
    connect(&m_console, &DeviceConsole::rawBytesReceived, this, &Device::onRawBytesReceived);
    connect(&m_console, &DeviceConsole::hangUpAfter, this, &Device::onHangUpAfter);
    connect(&m_console, &DeviceConsole::eventOccurred, this, &Device::eventOccurred);
    connect(&m_bootloader, &Bootloader::output, this, &Device::send);
    connect(&m_bootloader, &Bootloader::firmwareStarting, this, &Device::startFirmware);
    connect(&m_bootloader, &Bootloader::rawBytesReceived, this, &Device::onRawBytesReceived);
    connect(&m_bootloader, &Bootloader::imageReceived, this, &Device::saveImage);
    connect(&m_bootloader, &Bootloader::eventOccurred, this, &Device::eventOccurred);
    m_modeTimer.setSingleShot(true);
    connect(&m_modeTimer, &QTimer::timeout, this, [this] {
        if (m_mode == Mode::Resetting) {
            m_mode = Mode::Bootloader;
            m_bootloader.start();
        } else {
            m_mode = Mode::Console;
            m_console.boot();
        }
    });
    m_chatterTimer.setInterval(chatterFaultMs);
    connect(&m_chatterTimer, &QTimer::timeout, this, &Device::onChatterTimer);
    m_chatterTimer.start();
}

void Device::receive(const QByteArray &bytes)
{
    m_input += bytes;
    process();
}

void Device::powerCycle()
{
    emit eventOccurred("power cycle");
    m_input.clear();
    m_console.reset();
    m_mode = Mode::Bootloader;
    m_modeTimer.stop();
    m_bootloader.start();
}

bool Device::addFault(const QByteArray &text, QByteArray &error)
{
    m_rawBytes = 0; // HangupInput counts from the fault that was added last
    return m_faults.add(text, error);
}

void Device::lineRestored()
{
    m_lineClosed = false;
    m_bytesToHangUp = -1;
    m_input.clear();
    if (m_mode == Mode::Console) {
        m_console.reset();
    }
}

void Device::process()
{
    // The console's idle() may call this function recursively; the outer call processes the rest.
    if (m_processing) {
        return;
    }
    m_processing = true;
    int next = 0;
    while (next < m_input.size() && !m_lineClosed
           && !(m_mode == Mode::Console && m_console.isBusy())) {
        const char byte = m_input.at(next++);
        if (m_mode == Mode::Console) {
            m_console.feed(byte);
        } else if (m_mode == Mode::Bootloader) {
            m_bootloader.feed(byte);
        }
    }
    // Input after a hang-up is discarded.
    m_input.remove(0, m_lineClosed ? m_input.size() : next);
    m_processing = false;
}

void Device::send(const QByteArray &bytes, Delivery delivery, int gapMs)
{
    if (m_lineClosed || m_faults.active(DeviceFaultKind::Silence) != nullptr) {
        return;
    }
    QByteArray out = bytes;
    if (m_bytesToHangUp >= 0) {
        out.truncate(m_bytesToHangUp);
        m_bytesToHangUp -= out.size();
    }
    if (!out.isEmpty()) {
        const Fault *singleBytes = m_faults.active(DeviceFaultKind::SingleBytes);
        if (singleBytes != nullptr) {
            emit transmit(out, Delivery::SingleBytes, qMax(1, singleBytes->argument));
        } else {
            emit transmit(out, delivery, gapMs);
        }
    }
    if (m_bytesToHangUp == 0) {
        m_lineClosed = true;
        emit hangUp();
    }
}

void Device::onResetting()
{
    m_mode = Mode::Resetting;
    m_modeTimer.start(m_options.rebootMs);
}

void Device::startFirmware()
{
    m_mode = Mode::Starting;
    m_modeTimer.start(firmwareStartMs);
}

void Device::onRawBytesReceived(int bytes)
{
    m_rawBytes += bytes;
    const Fault *fault = m_faults.active(DeviceFaultKind::HangupInput);
    if (!m_lineClosed && fault != nullptr && m_rawBytes == qMax(1, fault->argument)) {
        emit eventOccurred("fault " + fault->text);
        m_lineClosed = true;
        emit hangUp();
    }
}

void Device::onHangUpAfter(int bytes)
{
    m_bytesToHangUp = bytes;
    if (bytes == 0) {
        m_lineClosed = true;
        emit hangUp();
    }
}

void Device::onChatterTimer()
{
    const Fault *fault = m_faults.active(DeviceFaultKind::Chatter);
    const bool wanted = fault != nullptr || m_state.debug();
    const int interval = fault == nullptr ? chatterDebugMs
        : fault->argument > 0             ? fault->argument
                                          : chatterFaultMs;
    if (m_chatterTimer.interval() != interval) {
        m_chatterTimer.setInterval(interval);
    }
    if (!wanted || m_mode != Mode::Console || !m_console.isAtPrompt()) {
        return;
    }
    const quint64 level = noise(m_options.seed, ++m_chatterCount) % 4096;
    send("# adc0 " + QByteArray::number(level) + " lsb, queue 0\r\n", Delivery::Streamed, 0);
}

void Device::saveImage(const QByteArray &image)
{
    if (m_options.imageFile.isEmpty()) {
        return;
    }
    QSaveFile file(m_options.imageFile);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(image);
        file.commit();
    }
}

} // namespace Simulator
