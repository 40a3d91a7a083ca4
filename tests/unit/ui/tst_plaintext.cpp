// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/windowdriver.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"

#include <QtGui/QScreen>
#include <QtGui/QTextDocumentFragment>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGraphicsTextItem>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QTextEdit>
#include <functional>
#include <sys/stat.h>

namespace {

QString longWord(int size) { return QString(size, QLatin1Char('w')); }

/// Runs @p steps on the next message box that is shown, and closes it.
void inNextMessageBox(const std::function<void(QMessageBox *)> &steps)
{
    QTimer::singleShot(0, qApp, [steps] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box != nullptr);
        steps(box);
        box->hide();
    });
}

/// The text that a label or a tool tip with @p content shows.
QString visibleText(const QString &content, Qt::TextFormat format = Qt::AutoText)
{
    const bool isHtml =
        format == Qt::RichText || (format == Qt::AutoText && Qt::mightBeRichText(content));
    return isHtml ? QTextDocumentFragment::fromHtml(content).toPlainText() : content;
}

/// The text that a tool tip shows, without its line breaks.
QString visibleToolTip(const QString &toolTip)
{
    return visibleText(toolTip).remove(QLatin1Char('\n')).replace(QChar::Nbsp, QLatin1Char(' '));
}

} // namespace

/// Text from a device, the store or settings.xml is shown as plain text, and no window becomes
/// larger than the screen, however long the text is.
class TestPlainText : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_store = FakeLocalStorage();
        m_window.reset();
        m_window.reset(new MainWindow(nullptr));
        m_graph =
            qobject_cast<MeasurementGraph *>(WindowDriver::topLevelWidget("MeasurementGraph"));
    }

    void messageBoxesShowPlainText_data() { addPayloadRows(); }
    void messageBoxesShowPlainText()
    {
        QFETCH(QString, payload);
        const auto check = [&](QMessageBox *box) {
            const auto *label = box->findChild<QLabel *>(text("qt_msgbox_label"));
            QTRY_COMPARE_WITH_TIMEOUT(visibleText(label->text(), label->textFormat()), payload,
                                      1000);
            QCOMPARE(box->text(), payload);
            QVERIFY(box->detailedText().isEmpty());
        };
        for (const auto icon :
             {QMessageBox::Information, QMessageBox::Warning, QMessageBox::Critical}) {
            inNextMessageBox(check);
            m_window->showMessageBox(icon, payload);
        }
        inNextMessageBox([&](QMessageBox *box) {
            check(box);
            QCOMPARE(box->windowTitle(), payload);
        });
        m_window->askQuestion(payload, payload);
    }

    void messageBoxShowsLongTextInItsDetails()
    {
        const struct
        {
            QString text;
            bool isLong;
        } messages[] = {
            {longWord(600), false},
            {text("line\n").repeated(24) + text("line"), false},
            {longWord(601), true},
            {text("line\n").repeated(25) + text("line"), true},
            {longWord(20000), true},
            {text("line\n").repeated(20000), true},
            {text("<b>word</b> ").repeated(20000), true},
        };
        for (const auto &message : messages) {
            inNextMessageBox([&](QMessageBox *box) {
                const QSize screen = box->screen()->availableSize();
                QVERIFY2(box->width() <= screen.width(), qPrintable(QString::number(box->width())));
                QVERIFY2(box->height() <= screen.height(),
                         qPrintable(QString::number(box->height())));
                QCOMPARE(!box->detailedText().isEmpty(), message.isLong);
                if (message.isLong) {
                    QVERIFY(box->text().endsWith(QChar(0x2026)));
                    QVERIFY(message.text.startsWith(box->text().chopped(1)));
                    QCOMPARE(box->findChild<QTextEdit *>()->toPlainText(), message.text);
                } else {
                    QCOMPARE(box->text(), message.text);
                }
            });
            m_window->showMessageBox(QMessageBox::Warning, message.text);
        }
    }

    void mainWindowShowsPlainText_data() { addPayloadRows(); }
    void mainWindowShowsPlainText()
    {
        QFETCH(QString, payload);
        m_window->addPort(payload, text("/dev/first"));
        m_window->setHwVersion(payload);
        m_window->setSwVersion(payload);
        m_window->setSerialNumber(payload);
        m_window->setModelNumber(payload);
        DeviceConfiguration configuration;
        configuration.configurationItems = {
            {payload, payload, payload, 0.0F, 0.0F, ConfigurationItemType::Text}};
        m_window->setConfiguration(configuration);
        m_window->setConfigurationValue(payload, payload);
        m_window->setMeasurementItems(
            {{payload, payload, MeasurementUnit::Celsius, MeasurementType::AirTemperature, 1.0}});
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.data()));

        for (const char *field : {"hwVersion", "swVersion", "serialNumber", "modelNumber"}) {
            QTRY_COMPARE_WITH_TIMEOUT(m_window->findChild<QLineEdit *>(text(field))->displayText(),
                                      payload, 1000);
        }
        const auto *settings = m_window->findChild<QTableWidget *>(text("configuration"));
        for (int column = 0; column < 3; ++column) {
            QCOMPARE(settings->item(0, column)->text(), payload);
        }
        QCOMPARE(m_window->findChild<QTableWidget *>(text("measurements"))->item(0, 0)->text(),
                 payload);
        checkComboBox(m_window->findChild<QComboBox *>(text("serialPorts")), payload);
    }

    void graphAndExportDialogsShowPlainText_data() { addPayloadRows(); }
    void graphAndExportDialogsShowPlainText()
    {
        QFETCH(QString, payload);
        fillStoreWithName(payload);
        showGraph();
        QVERIFY(QTest::qWaitForWindowExposed(m_graph));
        m_graph->resize(1500, 700);
        const QString shown = payload + QLatin1Char(' ');
        const auto *chart = m_graph->findChild<GraphQt *>()->chart();
        QCOMPARE(chart->series().constFirst()->name(), shown);
        // The legend ends a name that is too long with three dots.
        QString legend;
        QTRY_VERIFY_WITH_TIMEOUT(!(legend = legendText().trimmed()).isEmpty(), 1000);
        legend.remove(text("..."));
        QCOMPARE(legend, payload.left(legend.size()));
        QVERIFY(legend.size() == payload.size() || legend.size() > 30);
        const auto *list = m_graph->findChild<QListWidget *>();
        QCOMPARE(list->item(0)->text(), shown);
        QCOMPARE(list->item(0)->toolTip(), QString());
        checkComboBox(m_graph->findChild<QComboBox *>(), text("KV - ") + payload);

        ExportMeasurementsToCsvDialog dialog(&m_store, nullptr);
        dialog.loadDevices();
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QCOMPARE(dialog.findChild<QListWidget *>()->item(0)->text(), payload);
        checkComboBox(dialog.findChild<QComboBox *>(), text("KV - ") + payload);
    }

    void longTextDoesNotEnlargeTheWindows_data()
    {
        QTest::addColumn<int>("size");
        QTest::addRow("500") << 500;
        QTest::addRow("20000") << 20000;
    }

    void longTextDoesNotEnlargeTheWindows()
    {
        QFETCH(int, size);
        const QString word = longWord(size);
        constexpr int maximumWidth = 900; // a little more than the windows need with this font
        fillStoreWithName(word);
        m_window->addPort(word, text("/dev/first"));
        m_window->show();
        showGraph();
        ExportMeasurementsToCsvDialog dialog(&m_store, nullptr);
        dialog.loadDevices();
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));

        const QWidget *widgets[] = {m_window.data(), m_graph, &dialog};
        for (const QWidget *widget : widgets) {
            QTRY_VERIFY_WITH_TIMEOUT(widget->isVisible(), 1000);
            QVERIFY2(widget->width() <= maximumWidth, qPrintable(QString::number(widget->width())));
            QVERIFY(widget->minimumSizeHint().width() <= maximumWidth);
            auto *comboBox = widget->findChild<QComboBox *>();
            comboBox->showPopup();
            QVERIFY(comboBox->view()->window()->width()
                    <= widget->screen()->availableSize().width());
            comboBox->hidePopup();
            const QString toolTip = comboBox->toolTip();
            QVERIFY(visibleToolTip(toolTip).contains(longWord(qMin(size, 1900))));
            QVERIFY(toolTip.size() < 3000);
            const QStringList lines = visibleText(toolTip).split(QLatin1Char('\n'));
            QVERIFY(std::all_of(lines.cbegin(), lines.cend(),
                                [](const QString &line) { return line.size() <= 80; }));
        }
        QTRY_VERIFY_WITH_TIMEOUT(legendText().startsWith(text("www")), 1000);
    }

    void comboBoxElidesItsText()
    {
        constexpr int width = 200;
        const auto imageOfComboBox = [](const QString &label) {
            MainWindow window(nullptr);
            window.addPort(label, QString());
            auto *comboBox = window.findChild<QComboBox *>(text("serialPorts"));
            comboBox->resize(width, 30);
            return comboBox->grab().toImage();
        };
        const QImage elided = imageOfComboBox(longWord(100));
        const QFontMetrics metrics = QApplication::fontMetrics();
        int characters = 1;
        while (imageOfComboBox(longWord(characters) + QChar(0x2026)) != elided) {
            QVERIFY(metrics.horizontalAdvance(longWord(++characters)) < width);
        }
    }

    void toolTipFollowsTheCurrentItem()
    {
        m_window->addPort(text("first"), QString());
        m_window->addPort(text("second"), QString());
        const auto *comboBox = m_window->findChild<QComboBox *>(text("serialPorts"));
        QCOMPARE(visibleToolTip(comboBox->toolTip()), text("first"));
        m_window->selectPortIndex(1);
        QCOMPARE(visibleToolTip(comboBox->toolTip()), text("second"));
        QCOMPARE(visibleToolTip(comboBox->itemData(1, Qt::ToolTipRole).toString()), text("second"));
    }

private:
    void addPayloadRows()
    {
        const QString fifo = QDir::currentPath() + text("/fifo");
        mkfifo(fifo.toLocal8Bit().constData(), S_IRUSR | S_IWUSR);
        QTest::addColumn<QString>("payload");
        QTest::addRow("nested tables") << text("<table><tr><td>").repeated(16);
        QTest::addRow("endless image") << text("<img src=\"/dev/zero\">");
        QTest::addRow("image that blocks") << text("<img src=\"%1\">").arg(fifo);
        QTest::addRow("heading") << text("<h1>Heading</h1>");
        QTest::addRow("less than") << text("PM<2.5");
        QTest::addRow("entity") << text("&amp; &lt;");
        QTest::addRow("mnemonic") << text("NO && O&3");
        QTest::addRow("place markers") << text("%1 %2 %n 100%");
        QTest::addRow("consecutive spaces") << text("two  three   four");
        QTest::addRow("quotes") << text("\"a\" 'b'");
    }

    void fillStoreWithName(const QString &name)
    {
        m_store.devicesResult = {{{{}, {}, name, text("KV")}, 7, {}, {}}};
        m_store.measurementTypesResult = {{2, name}};
        m_store.measurementsResult.resize(1);
        m_store.measurementsResult[0].timestamp =
            QDateTime(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
        m_store.measurementsResult[0].values = {{name, true, 10.0}};
    }

    void showGraph()
    {
        GraphSettings settings;
        settings.measurementTypes = QStringList{m_store.measurementTypesResult.value(2)};
        settings.to = QDateTime::currentDateTimeUtc();
        m_window->showGraph(DeviceDetails(), &m_store, {}, MeasurementDisplayOptions(), settings);
    }

    /// The name that the chart's legend shows.
    QString legendText() const
    {
        const auto *view = m_graph->findChild<GraphQt *>();
        const auto items = view->scene()->items();
        for (QGraphicsItem *item : items) {
            auto *label = qgraphicsitem_cast<QGraphicsTextItem *>(item);
            if (label != nullptr && view->chart()->legend()->isAncestorOf(label)) {
                return label->toPlainText().replace(QChar::Nbsp, QLatin1Char(' '));
            }
        }
        return QString();
    }

    void checkComboBox(const QComboBox *comboBox, const QString &expected) const
    {
        QCOMPARE(comboBox->currentText(), expected);
        QCOMPARE(visibleToolTip(comboBox->toolTip()), expected);
        QCOMPARE(visibleToolTip(comboBox->itemData(0, Qt::ToolTipRole).toString()), expected);
    }

    FakeLocalStorage m_store;
    QScopedPointer<MainWindow> m_window;
    MeasurementGraph *m_graph = nullptr;
};

KV_TEST_MAIN(TestPlainText)
#include "tst_plaintext.moc"
