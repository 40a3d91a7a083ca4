// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "ui/deviceitem.h"

#include <QtCore/QMetaProperty>
#include <QtTest/QSignalSpy>

class TestDeviceItem : public QObject
{
    Q_OBJECT

private slots:
    void offersFourPropertiesInOrder();
    void startsEmpty_data() { properties(); }
    void startsEmpty();
    void assignsAndReports_data() { properties(); }
    void assignsAndReports();
    void reportsAnEqualValueAgain_data() { properties(); }
    void reportsAnEqualValueAgain();

private:
    static void properties();
    static QMetaProperty property(const DeviceItem &item, const QString &name);
};

void TestDeviceItem::properties()
{
    QTest::addColumn<QString>("name");
    QTest::addRow("serialNumber") << QStringLiteral("serialNumber");
    QTest::addRow("modelNumber") << QStringLiteral("modelNumber");
    QTest::addRow("swVersion") << QStringLiteral("swVersion");
    QTest::addRow("hwVersion") << QStringLiteral("hwVersion");
}

QMetaProperty TestDeviceItem::property(const DeviceItem &item, const QString &name)
{
    const QMetaObject *meta = item.metaObject();
    return meta->property(meta->indexOfProperty(qPrintable(name)));
}

void TestDeviceItem::offersFourPropertiesInOrder()
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
    QCOMPARE(names,
             QStringList({QStringLiteral("serialNumber"), QStringLiteral("modelNumber"),
                          QStringLiteral("swVersion"), QStringLiteral("hwVersion")}));
}

void TestDeviceItem::startsEmpty()
{
    QFETCH(QString, name);
    const DeviceItem item;
    QCOMPARE(property(item, name).read(&item).toString(), QString());
}

void TestDeviceItem::assignsAndReports()
{
    QFETCH(QString, name);
    DeviceItem item;
    QSignalSpy changed(&item, QByteArray("2" + name.toLatin1() + "Changed(QString)").constData());
    QVERIFY(property(item, name).write(&item, QStringLiteral("A1")));

    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.first().first().toString(), QStringLiteral("A1"));
    const QMetaObject &meta = DeviceItem::staticMetaObject;
    for (int index = meta.propertyOffset(); index < meta.propertyCount(); ++index) {
        const bool written = QLatin1String(meta.property(index).name()) == name;
        QCOMPARE(meta.property(index).read(&item).toString(),
                 written ? QStringLiteral("A1") : QString());
    }
}

void TestDeviceItem::reportsAnEqualValueAgain()
{
    QFETCH(QString, name);
    DeviceItem item;
    QSignalSpy changed(&item, QByteArray("2" + name.toLatin1() + "Changed(QString)").constData());
    QVERIFY(property(item, name).write(&item, QStringLiteral("A1")));
    QVERIFY(property(item, name).write(&item, QStringLiteral("A1")));
    QCOMPARE(changed.size(), 2);
}

KV_TEST_CORE_MAIN(TestDeviceItem)

#include "tst_deviceitem.moc"
