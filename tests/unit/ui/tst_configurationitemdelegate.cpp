// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "ui/configurationitemdelegate.h"

#include <QtCore/QScopedPointer>
#include <QtGui/QStandardItemModel>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>
#include <limits>

namespace {

constexpr int typeRole = Qt::UserRole + 1;
constexpr int minRole = Qt::UserRole + 2;
constexpr int maxRole = Qt::UserRole + 3;

constexpr int textType = 0;
constexpr int intType = 1;
constexpr int floatType = 2;

constexpr int defaultMaxLength = 32767;

} // namespace

class TestConfigurationItemDelegate : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_parent.reset(new QWidget);
        m_model.clear();
        m_model.appendRow(new QStandardItem(QString()));
    }

    void createsASpinBoxForAnInteger_data()
    {
        QTest::addColumn<float>("min");
        QTest::addColumn<float>("max");
        QTest::addColumn<int>("expectedMin");
        QTest::addColumn<int>("expectedMax");

        QTest::addRow("whole") << -400.0F << 9000.0F << -400 << 9000;
        QTest::addRow("cut toward zero") << -10.9F << 20.9F << -10 << 20;
        QTest::addRow("beyond any int") << -1e20F << 1e20F << std::numeric_limits<int>::min()
                                        << std::numeric_limits<int>::max();
        QTest::addRow("not a number") << std::numeric_limits<float>::quiet_NaN() << 5.0F << 0 << 5;
    }

    void createsASpinBoxForAnInteger()
    {
        QFETCH(float, min);
        QFETCH(float, max);
        auto *editor = qobject_cast<QSpinBox *>(createEditor(intType, min, max));
        QVERIFY(editor);
        QTEST(editor->minimum(), "expectedMin");
        QTEST(editor->maximum(), "expectedMax");
    }

    void createsASpinBoxWithDecimalsForARealNumber()
    {
        auto *editor = qobject_cast<QDoubleSpinBox *>(createEditor(floatType, -1.5F, 60.25F));
        QVERIFY(editor);
        QCOMPARE(editor->minimum(), -1.5);
        QCOMPARE(editor->maximum(), 60.25);
        QCOMPARE(editor->decimals(), QDoubleSpinBox().decimals());
    }

    void createsALineEditForAText_data()
    {
        QTest::addColumn<float>("max");
        QTest::addColumn<int>("expected");

        QTest::addRow("limit") << 16.0F << 16;
        QTest::addRow("cut toward zero") << 16.9F << 16;
        QTest::addRow("no limit at 0") << 0.0F << defaultMaxLength;
        QTest::addRow("no limit below 0") << -5.0F << defaultMaxLength;
        QTest::addRow("above 0 is a limit") << 0.5F << 0;
    }

    void createsALineEditForAText()
    {
        QFETCH(float, max);
        auto *editor = qobject_cast<QLineEdit *>(createEditor(textType, 100.0F, max));
        QVERIFY(editor);
        QTEST(editor->maxLength(), "expected");
    }

    void returnsNoEditorForATextWithoutALineEdit()
    {
        m_model.item(0)->setData(7, Qt::EditRole);
        QTest::ignoreMessage(QtDebugMsg, "Failed to cast editor");
        QVERIFY(!createEditor(textType, 0.0F, 10.0F));
        QVERIFY(m_parent->children().isEmpty());
    }

    void returnsNoEditorForAnyOtherType_data()
    {
        QTest::addColumn<int>("type");
        QTest::addRow("3") << 3;
        QTest::addRow("-1") << -1;
        QTest::addRow("1000") << 1000;
    }

    void returnsNoEditorForAnyOtherType()
    {
        QFETCH(int, type);
        QVERIFY(!createEditor(type, 0.0F, 10.0F));
        QVERIFY(m_parent->children().isEmpty());
    }

    void treatsAMissingTypeAsText()
    {
        const QModelIndex index = m_model.item(0)->index();
        auto *editor = qobject_cast<QLineEdit *>(
            m_delegate.createEditor(m_parent.data(), QStyleOptionViewItem(), index));
        QVERIFY(editor);
        QCOMPARE(editor->maxLength(), defaultMaxLength);
    }

    void parentOwnsTheEditor()
    {
        for (int type : {textType, intType, floatType}) {
            QWidget *editor = createEditor(type, 0.0F, 10.0F);
            QVERIFY(editor);
            QCOMPARE(editor->parentWidget(), m_parent.data());
        }
    }

private:
    QWidget *createEditor(int type, float min, float max)
    {
        QStandardItem *item = m_model.item(0);
        item->setData(type, typeRole);
        item->setData(min, minRole);
        item->setData(max, maxRole);
        return m_delegate.createEditor(m_parent.data(), QStyleOptionViewItem(), item->index());
    }

    QScopedPointer<QWidget> m_parent;
    QStandardItemModel m_model;
    ConfigurationItemDelegate m_delegate{nullptr};
};

KV_TEST_MAIN(TestConfigurationItemDelegate)

#include "tst_configurationitemdelegate.moc"
