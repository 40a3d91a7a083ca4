// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/logvalue.h"
#include "serial/serialporttypes.h"
#include "serial/serialutils.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

class TestSerialUtils : public QObject
{
    Q_OBJECT

private slots:
    void registersEachTypeOnceAndInOrder()
    {
        const QVector<const char *> names = {"SerialPortActionType", "SerialPortValueType",
                                             "SerialPortJobType", "QVector<LogValue>"};
        for (const char *name : names) {
            QCOMPARE(QMetaType::type(name), int(QMetaType::UnknownType));
        }

        registerSerialMetaTypes();
        QVector<int> ids;
        for (const char *name : names) {
            ids.append(QMetaType::type(name));
        }
        QVERIFY(ids.at(0) < ids.at(1) && ids.at(1) < ids.at(2));
        const QVector<int> expected = {
            qMetaTypeId<SerialPortActionType>(), qMetaTypeId<SerialPortValueType>(),
            qMetaTypeId<SerialPortJobType>(), qMetaTypeId<QVector<LogValue>>()};
        QCOMPARE(ids, expected);

        registerSerialMetaTypes();
        for (int index = 0; index < names.size(); ++index) {
            QCOMPARE(QMetaType::type(names.at(index)), ids.at(index));
        }
    }
};

KV_TEST_CORE_MAIN(TestSerialUtils)
#include "tst_serialutils.moc"
