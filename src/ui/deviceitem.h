// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

/// A device's identity as properties, ready to be bound to a view. Not used yet: the identity
/// is passed as DeviceDetails.
///
/// Each setter emits its signal, even if the value doesn't change.
class DeviceItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(
        QString serialNumber READ serialNumber WRITE setSerialNumber NOTIFY serialNumberChanged)
    Q_PROPERTY(QString modelNumber READ modelNumber WRITE setModelNumber NOTIFY modelNumberChanged)
    Q_PROPERTY(QString swVersion READ swVersion WRITE setSwVersion NOTIFY swVersionChanged)
    Q_PROPERTY(QString hwVersion READ hwVersion WRITE setHwVersion NOTIFY hwVersionChanged)

public:
    /// All values are empty.
    using QObject::QObject;

    /// The value that was set last; empty before that.
    /// @{
    QString serialNumber() const { return m_serialNumber; }
    QString modelNumber() const { return m_modelNumber; }
    QString swVersion() const { return m_swVersion; }
    QString hwVersion() const { return m_hwVersion; }
    /// @}

    /// Sets the value and emits its signal.
    /// @{
    void setSerialNumber(const QString &newValue);
    void setModelNumber(const QString &newValue);
    void setSwVersion(const QString &newValue);
    void setHwVersion(const QString &newValue);
    /// @}

signals:
    /// The value was set, possibly without a change.
    /// @{
    void serialNumberChanged(QString newValue);
    void modelNumberChanged(QString newValue);
    void swVersionChanged(QString newValue);
    void hwVersionChanged(QString newValue);
    /// @}

private:
    QString m_serialNumber;
    QString m_modelNumber;
    QString m_swVersion;
    QString m_hwVersion;
};
