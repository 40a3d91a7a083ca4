// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "ui/deviceitem.h"

#include <QtCore/QMetaProperty>

class TestDeviceItem : public QObject
{
    Q_OBJECT

private slots:
    void eachSetterAssignsAndEmits()
    {
        const QMetaObject &meta = DeviceItem::staticMetaObject;
        DeviceItem item;
        QStringList names;
        for (int index = meta.propertyOffset(); index < meta.propertyCount(); ++index) {
            const QMetaProperty property = meta.property(index);
            names << text(property.name());
            QCOMPARE(property.userType(), int(QMetaType::QString));
            QCOMPARE(property.notifySignal().methodSignature(),
                     QByteArray(property.name()) + "Changed(QString)");
            QCOMPARE(property.read(&item).toString(), QString());
            QSignalSpy changed(&item, property.notifySignal());
            // Setting an equal value emits the signal too.
            for (int emissions = 1; emissions <= 2; ++emissions) {
                QVERIFY(property.write(&item, names.last()));
                QCOMPARE(changed.size(), emissions);
                QCOMPARE(changed.last().first().toString(), names.last());
            }
        }
        QCOMPARE(names, texts("serialNumber|modelNumber|swVersion|hwVersion"));
        for (const QString &name : names) {
            QCOMPARE(item.property(qPrintable(name)).toString(), name);
        }
    }
};

KV_TEST_CORE_MAIN(TestDeviceItem)
#include "tst_deviceitem.moc"
