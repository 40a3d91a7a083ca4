// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/forms.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/measurementgraph.h"

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
    void windowHasItsNameTitleSizeAndButtons()
    {
        QCOMPARE(m_graph.objectName(), text("MeasurementGraph"));
        QCOMPARE(m_graph.windowTitle(), text("Measurements"));
        QCOMPARE(m_graph.size(), QSize(775, 606));
        QVERIFY(!m_graph.isModal());
        QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
        QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    }

    void groupsHaveTheirTitlesAndLayouts_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("layout");
        QTest::addRow("groupBox_2") << text("Device") << text("verticalLayout");
        QTest::addRow("groupBox") << text("Measurements") << text("verticalLayout_2");
        QTest::addRow("groupBox_3") << text("Date range") << text("verticalLayout_3");
        QTest::addRow("groupBox_4") << text("Graph") << text("verticalLayout_5");
    }

    void groupsHaveTheirTitlesAndLayouts()
    {
        QFETCH(QString, title);
        QFETCH(QString, layout);
        auto *group = m_graph.findChild<QGroupBox *>(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(group != nullptr);
        QCOMPARE(group->title(), title);
        QCOMPARE(group->layout()->objectName(), layout);
    }

    void layoutsContainTheirWidgetsInOrder_data()
    {
        QTest::addColumn<QString>("contents");
        QTest::addRow("horizontalLayout") << text("verticalLayout_4 chart");
        QTest::addRow("verticalLayout_4")
            << text("groupBox_2 groupBox groupBox_3 groupBox_4 spacer");
        QTest::addRow("verticalLayout") << text("deviceComboBox");
        QTest::addRow("verticalLayout_2") << text("list buttonClear");
        QTest::addRow("verticalLayout_3")
            << text("label fromDateTimeEdit showLatestCheckBox label_2 toDateTimeEdit");
        QTest::addRow("verticalLayout_5")
            << QStringLiteral("label_3 graphMinimumSpinBox label_4 graphMaximumSpinBox "
                              "enableSettingsMinMaxForGraphcheckBox");
    }

    void layoutsContainTheirWidgetsInOrder()
    {
        QFETCH(QString, contents);
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const auto *layout = m_graph.findChild<QBoxLayout *>(name);
        QVERIFY(layout != nullptr);
        QCOMPARE(contentsOf(layout), contents.split(QLatin1Char(' ')));
        const bool row = layout->direction() == QBoxLayout::LeftToRight;
        QCOMPARE(row, name.startsWith(QLatin1String("horizontal")));
    }

    void widgetsHaveTheirKindsAndTexts_data()
    {
        QTest::addColumn<QString>("className");
        QTest::addColumn<QString>("label");
        const auto add = [](const char *name, const char *className, const char *label) {
            QTest::addRow("%s", name)
                << QString::fromLatin1(className) << QString::fromLatin1(label);
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

    void widgetsHaveTheirKindsAndTexts()
    {
        QFETCH(QString, className);
        QFETCH(QString, label);
        const auto *widget =
            m_graph.findChild<QWidget *>(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(widget != nullptr);
        QCOMPARE(QString::fromLatin1(widget->metaObject()->className()), className);
        if (!label.isEmpty()) {
            QCOMPARE(widget->property("text").toString(), label);
        }
    }

    void labelsHaveTheirBuddies_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addRow("label") << text("fromDateTimeEdit");
        QTest::addRow("label_2") << text("toDateTimeEdit");
        QTest::addRow("label_3") << text("graphMinimumSpinBox");
        QTest::addRow("label_4") << text("graphMaximumSpinBox");
    }

    void labelsHaveTheirBuddies()
    {
        QFETCH(QString, field);
        const auto *label =
            m_graph.findChild<QLabel *>(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(label->buddy() != nullptr);
        QCOMPARE(label->buddy()->objectName(), field);
    }

    void dateFieldsHaveNoButtonsAndAPopup()
    {
        for (const char *name : {"fromDateTimeEdit", "toDateTimeEdit"}) {
            const auto *field = m_graph.findChild<QDateTimeEdit *>(text(name));
            QCOMPARE(field->buttonSymbols(), QAbstractSpinBox::NoButtons);
            QVERIFY(!field->keyboardTracking());
            QVERIFY(field->calendarPopup());
            QCOMPARE(field->displayFormat(), QDateTimeEdit().displayFormat());
        }
    }

    void spinBoxesAcceptEveryFiniteNumber()
    {
        for (const char *name : {"graphMinimumSpinBox", "graphMaximumSpinBox"}) {
            const auto *box = m_graph.findChild<QDoubleSpinBox *>(text(name));
            QCOMPARE(box->decimals(), 3);
            QCOMPARE(box->minimum(), std::numeric_limits<double>::lowest());
            QCOMPARE(box->maximum(), std::numeric_limits<double>::max());
        }
    }

    void listStartsDisabled()
    {
        QVERIFY(!m_graph.findChild<QListWidget *>(text("list"))->isEnabled());
        QVERIFY(!m_graph.findChild<QPushButton *>(text("buttonClear"))->autoDefault());
    }

    void tabGoesFromTopToBottom()
    {
        const QStringList order{text("deviceComboBox"),
                                text("list"),
                                text("buttonClear"),
                                text("fromDateTimeEdit"),
                                text("showLatestCheckBox"),
                                text("toDateTimeEdit"),
                                text("graphMinimumSpinBox"),
                                text("graphMaximumSpinBox"),
                                text("enableSettingsMinMaxForGraphcheckBox")};
        QCOMPARE(tabOrder(m_graph.findChild<QWidget *>(order.first()), order), order);
    }

    void textsAreTranslatedInTheDialogsContext()
    {
        RecordingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const MeasurementGraph graph(nullptr);
        QCoreApplication::removeTranslator(&translator);
        for (const char *label :
             {"Measurements", "Device", "Clear", "Date range", "From", "Always show latest", "To",
              "Graph", "Minimum", "Maximum", "Manual range"}) {
            QVERIFY2(translator.has("MeasurementGraph", text(label)), label);
        }
    }

private:
    MeasurementGraph m_graph{nullptr};
};

KV_TEST_MAIN(TestMeasurementGraphForm)
#include "tst_measurementgraphform.moc"
