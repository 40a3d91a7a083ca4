// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/deviceitem.h"

#include <QtCore/QMetaProperty>
#include <QtTest/QSignalSpy>

class TestDeviceItem : public QObject
{
    Q_OBJECT

private slots:
    void hasFourPropertiesInOrder()
    {
        const QMetaObject &meta = DeviceItem::staticMetaObject;
        QStringList names;
        for (int index = meta.propertyOffset(); index < meta.propertyCount(); ++index) {
            const QMetaProperty property = meta.property(index);
            names.append(QString::fromLatin1(property.name()));
            QVERIFY(property.isReadable());
            QVERIFY(property.isWritable());
            QCOMPARE(property.userType(), int(QMetaType::QString));
            QCOMPARE(property.notifySignal().methodSignature(),
                     QByteArray(property.name()) + "Changed(QString)");
        }
        QCOMPARE(names, texts("serialNumber|modelNumber|swVersion|hwVersion"));
    }

    void setterAssignsAndEmits_data() { properties(); }
    void setterAssignsAndEmits()
    {
        QFETCH(QString, name);
        DeviceItem item;
        QCOMPARE(property(item, name).read(&item).toString(), QString());
        QSignalSpy changed(&item,
                           QByteArray("2" + name.toLatin1() + "Changed(QString)").constData());
        QVERIFY(property(item, name).write(&item, text("A1")));

        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.first().first().toString(), text("A1"));
        const QMetaObject &meta = DeviceItem::staticMetaObject;
        for (int index = meta.propertyOffset(); index < meta.propertyCount(); ++index) {
            const bool written = QLatin1String(meta.property(index).name()) == name;
            QCOMPARE(meta.property(index).read(&item).toString(), written ? text("A1") : QString());
        }
        // An equal value is reported too.
        QVERIFY(property(item, name).write(&item, text("A1")));
        QCOMPARE(changed.size(), 2);
    }

private:
    static void properties()
    {
        QTest::addColumn<QString>("name");
        QTest::addRow("serialNumber") << text("serialNumber");
        QTest::addRow("modelNumber") << text("modelNumber");
        QTest::addRow("swVersion") << text("swVersion");
        QTest::addRow("hwVersion") << text("hwVersion");
    }

    static QMetaProperty property(const DeviceItem &item, const QString &name)
    {
        const QMetaObject *meta = item.metaObject();
        return meta->property(meta->indexOfProperty(qPrintable(name)));
    }
};

KV_TEST_CORE_MAIN(TestDeviceItem)

#include "tst_deviceitem.moc"
