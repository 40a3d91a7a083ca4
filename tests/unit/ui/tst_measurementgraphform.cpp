// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/forms.h"
#include "tests/kit/testmain.h"
#include "ui/measurementgraph.h"

#include <QtCore/QMetaMethod>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <limits>

class TestMeasurementGraphForm : public QObject
{
    Q_OBJECT

private slots:
    void windowHasItsNameTitleSizeAndButtons();
    void groupsHaveTheirTitlesAndLayouts_data();
    void groupsHaveTheirTitlesAndLayouts();
    void layoutsHoldTheirWidgetsInOrder_data();
    void layoutsHoldTheirWidgetsInOrder();
    void widgetsHaveTheirKindsAndTexts_data();
    void widgetsHaveTheirKindsAndTexts();
    void labelsLeadToTheirFields_data();
    void labelsLeadToTheirFields();
    void dateFieldsHaveNoButtonsAndAPopup_data();
    void dateFieldsHaveNoButtonsAndAPopup();
    void spinBoxesTakeEveryFiniteNumber_data();
    void spinBoxesTakeEveryFiniteNumber();
    void listStartsDisabled();
    void tabGoesFromTopToBottom();
    void textsAreTranslatedInTheDialogsContext();
    void slotsAreDeclaredInOrder();

private:
    MeasurementGraph m_graph{nullptr};
};

void TestMeasurementGraphForm::windowHasItsNameTitleSizeAndButtons()
{
    QCOMPARE(m_graph.objectName(), QStringLiteral("MeasurementGraph"));
    QCOMPARE(m_graph.windowTitle(), QStringLiteral("Measurements"));
    QCOMPARE(m_graph.size(), QSize(775, 606));
    QVERIFY(!m_graph.isModal());
    QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

void TestMeasurementGraphForm::groupsHaveTheirTitlesAndLayouts_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("layout");
    QTest::addRow("groupBox_2") << QStringLiteral("Device") << QStringLiteral("verticalLayout");
    QTest::addRow("groupBox") << QStringLiteral("Measurements")
                              << QStringLiteral("verticalLayout_2");
    QTest::addRow("groupBox_3") << QStringLiteral("Date range")
                                << QStringLiteral("verticalLayout_3");
    QTest::addRow("groupBox_4") << QStringLiteral("Graph") << QStringLiteral("verticalLayout_5");
}

void TestMeasurementGraphForm::groupsHaveTheirTitlesAndLayouts()
{
    QFETCH(QString, title);
    QFETCH(QString, layout);
    auto *group = m_graph.findChild<QGroupBox *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(group != nullptr);
    QCOMPARE(group->title(), title);
    QCOMPARE(group->layout()->objectName(), layout);
}

void TestMeasurementGraphForm::layoutsHoldTheirWidgetsInOrder_data()
{
    QTest::addColumn<QString>("contents");
    QTest::addRow("horizontalLayout") << QStringLiteral("verticalLayout_4 chart");
    QTest::addRow("verticalLayout_4")
        << QStringLiteral("groupBox_2 groupBox groupBox_3 groupBox_4 spacer");
    QTest::addRow("verticalLayout") << QStringLiteral("deviceComboBox");
    QTest::addRow("verticalLayout_2") << QStringLiteral("list buttonClear");
    QTest::addRow("verticalLayout_3")
        << QStringLiteral("label fromDateTimeEdit showLatestCheckBox label_2 toDateTimeEdit");
    QTest::addRow("verticalLayout_5")
        << QStringLiteral("label_3 graphMinimumSpinBox label_4 graphMaximumSpinBox "
                          "enableSettingsMinMaxForGraphcheckBox");
}

void TestMeasurementGraphForm::layoutsHoldTheirWidgetsInOrder()
{
    QFETCH(QString, contents);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const auto *layout = m_graph.findChild<QBoxLayout *>(name);
    QVERIFY(layout != nullptr);
    QCOMPARE(contentsOf(layout), contents.split(QLatin1Char(' ')));
    const bool row = layout->direction() == QBoxLayout::LeftToRight;
    QCOMPARE(row, name.startsWith(QLatin1String("horizontal")));
}

void TestMeasurementGraphForm::widgetsHaveTheirKindsAndTexts_data()
{
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("text");
    const auto add = [](const char *name, const char *className, const char *text) {
        QTest::addRow("%s", name) << QString::fromLatin1(className) << QString::fromLatin1(text);
    };
    add("deviceComboBox", "QComboBox", "");
    add("list", "QListWidget", "");
    add("buttonClear", "QPushButton", "Clear");
    add("label", "QLabel", "From");
    add("fromDateTimeEdit", "QDateTimeEdit", "");
    add("showLatestCheckBox", "QCheckBox", "Always show latest");
    add("label_2", "QLabel", "To");
    add("toDateTimeEdit", "QDateTimeEdit", "");
    add("label_3", "QLabel", "Minimum");
    add("graphMinimumSpinBox", "QDoubleSpinBox", "");
    add("label_4", "QLabel", "Maximum");
    add("graphMaximumSpinBox", "QDoubleSpinBox", "");
    add("enableSettingsMinMaxForGraphcheckBox", "QCheckBox", "Manual range");
    add("chart", "Graph", "");
}

void TestMeasurementGraphForm::widgetsHaveTheirKindsAndTexts()
{
    QFETCH(QString, className);
    QFETCH(QString, text);
    const auto *widget = m_graph.findChild<QWidget *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(widget != nullptr);
    QCOMPARE(QString::fromLatin1(widget->metaObject()->className()), className);
    if (!text.isEmpty()) {
        QCOMPARE(widget->property("text").toString(), text);
    }
}

void TestMeasurementGraphForm::labelsLeadToTheirFields_data()
{
    QTest::addColumn<QString>("field");
    QTest::addRow("label") << QStringLiteral("fromDateTimeEdit");
    QTest::addRow("label_2") << QStringLiteral("toDateTimeEdit");
    QTest::addRow("label_3") << QStringLiteral("graphMinimumSpinBox");
    QTest::addRow("label_4") << QStringLiteral("graphMaximumSpinBox");
}

void TestMeasurementGraphForm::labelsLeadToTheirFields()
{
    QFETCH(QString, field);
    const auto *label = m_graph.findChild<QLabel *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(label->buddy() != nullptr);
    QCOMPARE(label->buddy()->objectName(), field);
}

void TestMeasurementGraphForm::dateFieldsHaveNoButtonsAndAPopup_data()
{
    QTest::addColumn<QString>("defaultFormat");
    const QString format = QDateTimeEdit().displayFormat();
    QTest::addRow("fromDateTimeEdit") << format;
    QTest::addRow("toDateTimeEdit") << format;
}

void TestMeasurementGraphForm::dateFieldsHaveNoButtonsAndAPopup()
{
    QFETCH(QString, defaultFormat);
    const auto *field =
        m_graph.findChild<QDateTimeEdit *>(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(field->buttonSymbols(), QAbstractSpinBox::NoButtons);
    QVERIFY(!field->keyboardTracking());
    QVERIFY(field->calendarPopup());
    QCOMPARE(field->displayFormat(), defaultFormat);
}

void TestMeasurementGraphForm::spinBoxesTakeEveryFiniteNumber_data()
{
    QTest::addColumn<int>("decimals");
    QTest::addRow("graphMinimumSpinBox") << 3;
    QTest::addRow("graphMaximumSpinBox") << 3;
}

void TestMeasurementGraphForm::spinBoxesTakeEveryFiniteNumber()
{
    QFETCH(int, decimals);
    const auto *box =
        m_graph.findChild<QDoubleSpinBox *>(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(box->decimals(), decimals);
    QCOMPARE(box->minimum(), std::numeric_limits<double>::lowest());
    QCOMPARE(box->maximum(), std::numeric_limits<double>::max());
}

void TestMeasurementGraphForm::listStartsDisabled()
{
    QVERIFY(!m_graph.findChild<QListWidget *>(QStringLiteral("list"))->isEnabled());
    QVERIFY(!m_graph.findChild<QPushButton *>(QStringLiteral("buttonClear"))->autoDefault());
}

void TestMeasurementGraphForm::tabGoesFromTopToBottom()
{
    const QStringList order{QStringLiteral("deviceComboBox"),
                            QStringLiteral("list"),
                            QStringLiteral("buttonClear"),
                            QStringLiteral("fromDateTimeEdit"),
                            QStringLiteral("showLatestCheckBox"),
                            QStringLiteral("toDateTimeEdit"),
                            QStringLiteral("graphMinimumSpinBox"),
                            QStringLiteral("graphMaximumSpinBox"),
                            QStringLiteral("enableSettingsMinMaxForGraphcheckBox")};
    QCOMPARE(tabOrder(m_graph.findChild<QWidget *>(order.first()), order), order);
}

void TestMeasurementGraphForm::textsAreTranslatedInTheDialogsContext()
{
    RecordingTranslator translator;
    QCoreApplication::installTranslator(&translator);
    const MeasurementGraph graph(nullptr);
    QCoreApplication::removeTranslator(&translator);
    for (const char *text :
         {"Measurements", "Device", "Clear", "Date range", "From", "Always show latest", "To",
          "Graph", "Minimum", "Maximum", "Manual range"}) {
        QVERIFY2(translator.has("MeasurementGraph", QString::fromLatin1(text)), text);
    }
}

void TestMeasurementGraphForm::slotsAreDeclaredInOrder()
{
    QStringList slotNames;
    const QMetaObject &meta = MeasurementGraph::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        slotNames << QString::fromLatin1(meta.method(i).methodSignature());
    }
    QCOMPARE(slotNames,
             (QStringList{QStringLiteral("selectDevice(int)"), QStringLiteral("onDateChanged()"),
                          QStringLiteral("reloadGraph()"), QStringLiteral("onClearClicked()"),
                          QStringLiteral("itemChanged(QListWidgetItem*)"),
                          QStringLiteral("onGraphManualRangeChanged()"),
                          QStringLiteral("onGraphManualRangeToggled()"),
                          QStringLiteral("onShowLatestToggled()")}));
    QCOMPARE(meta.method(meta.methodOffset()).access(), QMetaMethod::Public);
    QCOMPARE(meta.method(meta.methodOffset() + 1).access(), QMetaMethod::Private);
}

KV_TEST_MAIN(TestMeasurementGraphForm)
#include "tst_measurementgraphform.moc"
