// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "ui/configurationitemdelegate.h"

#include <QtGui/QStandardItemModel>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>
#include <limits>

namespace {

enum Type { Text, Int, Float };

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

    void createsASpinBoxForAnInteger()
    {
        using Limits = std::numeric_limits<int>;
        const struct
        {
            float min;
            float max;
            int expectedMin;
            int expectedMax;
        } rows[] = {
            {-400.0F, 9000.0F, -400, 9000},
            {-10.9F, 20.9F, -10, 20}, // cut toward zero
            {-1e20F, 1e20F, Limits::min(), Limits::max()},
            {std::numeric_limits<float>::quiet_NaN(), 5.0F, 0, 5},
        };
        for (const auto &row : rows) {
            const auto *editor = createEditor<QSpinBox>(Int, row.min, row.max);
            QVERIFY(editor);
            QCOMPARE(editor->minimum(), row.expectedMin);
            QCOMPARE(editor->maximum(), row.expectedMax);
        }
    }

    void createsASpinBoxWithDecimalsForARealNumber()
    {
        const auto *editor = createEditor<QDoubleSpinBox>(Float, -1.5F, 60.25F);
        QVERIFY(editor);
        QCOMPARE(editor->minimum(), -1.5);
        QCOMPARE(editor->maximum(), 60.25);
        QCOMPARE(editor->decimals(), QDoubleSpinBox().decimals());
    }

    void createsALineEditForAText()
    {
        const int noLimit = QLineEdit().maxLength();
        const QMap<float, int> lengths{
            {16.0F, 16}, {16.9F, 16}, {0.5F, 0}, {0.0F, noLimit}, {-5.0F, noLimit}};
        for (auto length = lengths.begin(); length != lengths.end(); ++length) {
            const auto *editor = createEditor<QLineEdit>(Text, 100.0F, length.key());
            QVERIFY(editor);
            QCOMPARE(editor->maxLength(), *length);
        }
    }

    void returnsNoEditorForATextWithoutALineEdit()
    {
        m_model.item(0)->setData(7, Qt::EditRole);
        QTest::ignoreMessage(QtDebugMsg, "Failed to cast editor");
        QVERIFY(!createEditor<QWidget>(Text, 0.0F, 10.0F));
        QVERIFY(m_parent->children().isEmpty());
    }

    void returnsNoEditorForAnyOtherType()
    {
        for (const int type : {3, -1, 1000}) {
            QVERIFY(!createEditor<QWidget>(type, 0.0F, 10.0F));
            QVERIFY(m_parent->children().isEmpty());
        }
    }

    void treatsAMissingTypeAsText()
    {
        const auto *editor = qobject_cast<QLineEdit *>(m_delegate.createEditor(
            m_parent.data(), QStyleOptionViewItem(), m_model.item(0)->index()));
        QVERIFY(editor);
        QCOMPARE(editor->maxLength(), QLineEdit().maxLength());
    }

private:
    /// The editor, which has the right parent; null when it is of another class.
    template <typename T>
    T *createEditor(int type, float min, float max)
    {
        QStandardItem *item = m_model.item(0);
        item->setData(type, Qt::UserRole + 1);
        item->setData(min, Qt::UserRole + 2);
        item->setData(max, Qt::UserRole + 3);
        QWidget *editor =
            m_delegate.createEditor(m_parent.data(), QStyleOptionViewItem(), item->index());
        return editor && editor->parent() == m_parent.data() ? qobject_cast<T *>(editor) : nullptr;
    }

    QScopedPointer<QWidget> m_parent;
    QStandardItemModel m_model;
    ConfigurationItemDelegate m_delegate{nullptr};
};

KV_TEST_MAIN(TestConfigurationItemDelegate)
#include "tst_configurationitemdelegate.moc"
