#include "CanvasPicture.h"
#include "LogFile.h"
#include "ModalAnswer.h"
#include "OrdinaryUser.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSvgRenderer>
#include <QToolTip>

namespace
{

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

/** Types a name into a file dialog and accepts it. */
ModalAnswer::Answer named(const QString &name, const QString &filter = {})
{
    return [name, filter](QDialog *modal) {
        auto *dialog = qobject_cast<QFileDialog *>(modal);
        QVERIFY(dialog);
        if (!filter.isEmpty()) {
            auto *box = dialog->findChild<QComboBox *>(QStringLiteral("fileTypeCombo"));
            const int index = box->findText(filter);
            QVERIFY2(index >= 0, qPrintable(filter));
            while (box->currentIndex() < index)
                QTest::keyClick(box, Qt::Key_Down);
        }
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(name);
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save)->click();
    };
}

} // namespace

class TestMainWindowKeys : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_fixture = std::make_unique<WindowFixture>();
        m_fixture->pretendRead();
    }
    void cleanup()
    {
        QToolTip::hideText();
        m_fixture.reset();
    }

    void theClickedCanvasReceivesTheKeys_data()
    {
        QTest::addColumn<bool>("second");
        QTest::newRow("first canvas") << false;
        QTest::newRow("second canvas") << true;
    }
    void theClickedCanvasReceivesTheKeys()
    {
        QFETCH(bool, second);
        QCPGraph *const curve = show(second ? "checkBox_rollDiff" : "checkBox_roll", second ? "横滚差值" : "横滚");
        click(second);
        WindowFixture::select(curve);
        press(Qt::Key_End);
        const MyCustomPlot *const controller = second ? window().myPlot_2() : window().myPlot();
        QVERIFY(controller->tracer()->graph() == curve);
        QCOMPARE(controller->tracer()->position->value(), 3.0); // last sample of 1, 2, 4, 3
        press(Qt::Key_Left);
        QCOMPARE(controller->tracer()->position->value(), 4.0);
        QVERIFY(QToolTip::text().contains(QStringLiteral(",  4)")));
        const MyCustomPlot *const other = second ? window().myPlot() : window().myPlot_2();
        QVERIFY(!other->tracer()->visible());
    }
    void theOtherCanvasFollowsTheViewOfTheKeys()
    {
        show("checkBox_roll", "横滚");
        show("checkBox_rollDiff", "横滚差值");
        canvas(false)->xAxis->setRange(0, 1);
        click(true);
        press(Qt::Key_A);
        QCOMPARE(canvas(false)->xAxis->range().lower, double(startDateTime.toSecsSinceEpoch()));
        QVERIFY(canvas(false)->xAxis->range() == canvas(true)->xAxis->range());
    }
    void aViewIsTheStateOfBothCanvases()
    {
        show("checkBox_roll", "横滚");
        show("checkBox_rollDiff", "横滚差值");
        click(false);
        press(Qt::Key_Backspace); // there is no previous view; the current view is recorded
        const QVector<QCPRange> start = ranges();
        canvas(true)->yAxis->setRange(-100, 100);
        canvas(true)->xAxis->setRange(5, 6);
        const QVector<QCPRange> zoomed = ranges();
        press(Qt::Key_Backspace);
        QVERIFY(ranges() == start);
        press(Qt::Key_Backspace, Qt::ShiftModifier);
        QVERIFY(ranges() == zoomed);
        click(true);
        press(Qt::Key_Backspace);
        QVERIFY(ranges() == start);
    }
    void aReadForgetsTheViews()
    {
        show("checkBox_roll", "横滚");
        click(false);
        press(Qt::Key_Backspace); // the current view is recorded
        canvas(false)->xAxis->setRange(5, 6);
        press(Qt::Key_Backspace);
        press(Qt::Key_Backspace, Qt::ShiftModifier);
        QCOMPARE(canvas(false)->xAxis->range().upper, 6.0); // there is a view to go back to
        choose(m_fixture->path(QStringLiteral("next.txt")));
        ModalAnswer report;
        report.next([](QDialog *) {});
        m_fixture->entry("menuFile", "读取数据(R)")->trigger();
        QVERIFY(report.allAnswered());
        const QVector<QCPRange> afterRead = ranges();
        click(false);
        press(Qt::Key_Backspace);
        QVERIFY(ranges() == afterRead);
    }
    void copyPutsBothCanvasesOnTheClipboard()
    {
        QApplication::clipboard()->clear();
        show("checkBox_roll", "横滚");
        show("checkBox_rollDiff", "横滚差值");
        canvas(false)->deselectAll();
        click(false);
        press(Qt::Key_C, Qt::ControlModifier);
        const QImage image = QApplication::clipboard()->image();
        QCOMPARE(image.width(), canvas(false)->width());
        QCOMPARE(image.height(), canvas(false)->height() + canvas(true)->height());
        // The visible canvases, one below the other.
        canvas(false)->replot();
        canvas(true)->replot();
        int y = 0;
        for (QCustomPlot *each : {canvas(false), canvas(true)}) {
            const QImage screen = each->toPixmap().toImage().convertToFormat(QImage::Format_RGB32);
            const QImage part = image.copy(0, y, each->width(), each->height()).convertToFormat(QImage::Format_RGB32);
            QVERIFY(part == screen);
            y += each->height();
        }
        QCOMPARE(m_fixture->status(), QStringLiteral("图片已复制到剪贴板"));
        QCOMPARE(m_fixture->statusInterval(), 2500);
    }
    void saveWritesTheFormatOfTheSuffix_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("written");
        QTest::newRow("png") << "a.png"
                             << ""
                             << "a.png";
        QTest::newRow("svg") << "a.svg"
                             << ""
                             << "a.svg";
        QTest::newRow("pdf") << "a.PDF"
                             << ""
                             << "a.PDF";
        QTest::newRow("no suffix") << "a"
                                   << ""
                                   << "a.png";
        QTest::newRow("suffix of the chosen filter") << "a"
                                                     << "SVG (*.svg)"
                                                     << "a.svg";
    }
    void saveWritesTheFormatOfTheSuffix()
    {
        QFETCH(QString, name);
        QFETCH(QString, filter);
        QFETCH(QString, written);
        show("checkBox_roll", "横滚");
        click(false);
        ModalAnswer answer;
        answer.next(named(m_fixture->path(name), filter));
        press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(answer.allAnswered());

        const QString path = m_fixture->path(written);
        const QSize size(canvas(false)->width(), canvas(false)->height() + canvas(true)->height());
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        if (written.endsWith(QLatin1String("png"))) {
            QCOMPARE(QImage(path).size(), size);
        } else if (written.endsWith(QLatin1String("svg"))) {
            QSvgRenderer renderer(path);
            QVERIFY(renderer.isValid());
            QCOMPARE(renderer.viewBox().size(), size);
            // The file contains vector lines, not an image.
            QVERIFY(contents(path).contains("<polyline"));
            QVERIFY(!contents(path).contains("<image"));
        } else {
            QVERIFY(contents(path).startsWith("%PDF-"));
            // In UTF-16, big endian, with its mark.
            QByteArray title("\xfe\xff");
            for (const QChar character : window().windowTitle())
                title.append(char(character.unicode() >> 8)).append(char(character.unicode() & 0xFF));
            QVERIFY(!window().windowTitle().isEmpty() && contents(path).contains("/Title (" + title + ')'));
            QVERIFY(contents(path).trimmed().endsWith("%%EOF"));
        }
        QCOMPARE(m_fixture->status(), QStringLiteral("图片已保存：") + path);
        QCOMPARE(m_fixture->statusInterval(), 2500);
    }
    void curvesOfAnSvgAreClippedToTheirAxes_data()
    {
        QTest::addColumn<double>("first");
        QTest::addColumn<double>("last");
        QTest::addColumn<double>("lower");
        QTest::addColumn<double>("upper");
        // Samples 1, 2, 4, 3 at 0, 0.2, 0.4, 0.6 seconds.
        QTest::newRow("up and down") << -0.1 << 0.7 << 2.2 << 2.8;
        QTest::newRow("before and after") << 0.25 << 0.35 << 0.0 << 5.0;
        QTest::newRow("all around") << 0.25 << 0.5 << 3.0 << 3.7;
    }
    void curvesOfAnSvgAreClippedToTheirAxes()
    {
        QFETCH(double, first);
        QFETCH(double, last);
        QFETCH(double, lower);
        QFETCH(double, upper);
        QCPGraph *const curve = show("checkBox_roll", "横滚");
        const QColor colour(250, 10, 240); // used by nothing else
        curve->setPen(QPen(colour, 2));
        const double start = double(startDateTime.toSecsSinceEpoch());
        canvas(false)->xAxis->setRange(start + first, start + last);
        canvas(false)->yAxis->setRange(lower, upper);
        canvas(false)->replot();
        const QVector<QCPGraphData> before(curve->data()->constBegin(), curve->data()->constEnd());

        const auto columnsAndRows = [&](const QImage &image) {
            QRect found;
            const int bottom = canvas(false)->axisRect()->outerRect().bottom();
            for (int y = 0; y < image.height(); ++y) {
                // The legend below the axes also shows the pen.
                if (y > bottom && y < canvas(false)->height())
                    continue;
                for (int x = 0; x < image.width(); ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    if (pixel.red() - pixel.green() > 150 && pixel.blue() - pixel.green() > 150)
                        found |= QRect(x, y, 1, 1);
                }
            }
            return found;
        };
        const CanvasPicture *picture = window().findChild<CanvasPicture *>();
        const QRect onScreen = columnsAndRows(picture->image());
        QVERIFY(onScreen.isValid() && canvas(false)->axisRect()->rect().adjusted(-2, -2, 2, 2).contains(onScreen));
        QSvgRenderer renderer(picture->encoded(QStringLiteral("svg")));
        QImage drawn(renderer.viewBox().size(), QImage::Format_RGB32);
        drawn.fill(Qt::black);
        QPainter painter(&drawn);
        renderer.render(&painter);
        painter.end();
        const QRect inFile = columnsAndRows(drawn);
        QVERIFY2(onScreen.adjusted(-3, -3, 3, 3).contains(inFile) && inFile.adjusted(-3, -3, 3, 3).contains(onScreen),
                 qPrintable(QStringLiteral("%1 %2 %3 %4 instead of %5 %6 %7 %8")
                                .arg(inFile.left())
                                .arg(inFile.top())
                                .arg(inFile.right())
                                .arg(inFile.bottom())
                                .arg(onScreen.left())
                                .arg(onScreen.top())
                                .arg(onScreen.right())
                                .arg(onScreen.bottom())));
        // The curve is unchanged.
        QCOMPARE(curve->data()->size(), before.size());
        for (int i = 0; i < before.size(); ++i)
            QCOMPARE((curve->data()->constBegin() + i)->value, before[i].value);
    }
    void anSvgKeepsTheSelectionAndTheCrosshair()
    {
        QCPGraph *const curve = show("checkBox_roll", "横滚");
        click(false);
        WindowFixture::select(curve);
        press(Qt::Key_End);
        // The last sample, at 0.6 seconds, is outside the view.
        const double start = double(startDateTime.toSecsSinceEpoch());
        canvas(false)->xAxis->setRange(start, start + 0.3);
        const QCPDataSelection selection = curve->selection();
        const QPointF position = window().myPlot()->tracer()->position->coords();
        QVERIFY(!window().findChild<CanvasPicture *>()->encoded(QStringLiteral("svg")).isEmpty());
        QVERIFY(curve->selection() == selection);
        QVERIFY(window().myPlot()->tracer()->position->coords() == position);
    }
    void theCrosshairOfAnSvgStaysAtItsSample()
    {
        QCPGraph *const curve = show("checkBox_roll", "横滚");
        click(false);
        WindowFixture::select(curve);
        press(Qt::Key_End);
        // The last sample, 3 at 0.6 seconds, is right of the view. The curve leaves the view at the value 3.5.
        const double start = double(startDateTime.toSecsSinceEpoch());
        canvas(false)->xAxis->setRange(start, start + 0.5);
        canvas(false)->yAxis->setRange(0, 5);
        canvas(false)->replot();
        const QPen red(QColor(255, 0, 0), 3);
        window().myPlot()->tracer()->setPen(red);
        QSvgRenderer renderer(window().findChild<CanvasPicture *>()->encoded(QStringLiteral("svg")));
        QImage drawn(renderer.viewBox().size(), QImage::Format_RGB32);
        drawn.fill(Qt::black);
        QPainter painter(&drawn);
        renderer.render(&painter);
        painter.end();
        const QRect axes = canvas(false)->axisRect()->rect();
        const auto redOfRow = [&](double value) {
            const int row = qRound(canvas(false)->yAxis->coordToPixel(value));
            int count = 0;
            for (int x = axes.left(); x <= axes.right(); ++x)
                count += drawn.pixelColor(x, row) == red.color() ? 1 : 0;
            return count;
        };
        QVERIFY2(redOfRow(3) > axes.width() / 2, qPrintable(QString::number(redOfRow(3))));
        QVERIFY2(redOfRow(3.5) < axes.width() / 10, qPrintable(QString::number(redOfRow(3.5))));
        QVERIFY(window().myPlot()->tracer()->graph() == curve);
    }
    void theDialogStartsInTheFolderOfTheLog()
    {
        QVERIFY(QDir().mkdir(m_fixture->path(QStringLiteral("flights"))));
        choose(m_fixture->path(QStringLiteral("flights/second.txt")));
        click(false);
        ModalAnswer answer;
        answer.next([this](QDialog *modal) {
            auto *dialog = qobject_cast<QFileDialog *>(modal);
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), QStringLiteral("保存图片"));
            QCOMPARE(QFileInfo(dialog->directory().path()).canonicalFilePath(),
                     QFileInfo(m_fixture->path(QStringLiteral("flights"))).canonicalFilePath());
            QCOMPARE(dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->text(),
                     QStringLiteral("second.png"));
        });
        press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(answer.allAnswered());
        QVERIFY(!QFileInfo::exists(m_fixture->path(QStringLiteral("flights/second.png"))));
    }
    void overwritingAFileNeedsAConfirmation_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("replace");
        QTest::newRow("kept") << "a.png" << false;
        QTest::newRow("replaced") << "a.png" << true;
        QTest::newRow("kept, typed without its suffix") << "a" << false;
    }
    void overwritingAFileNeedsAConfirmation()
    {
        QFETCH(QString, typed);
        QFETCH(bool, replace);
        const QString path = m_fixture->path(QStringLiteral("a.png"));
        write(path, "mine");
        click(false);
        ModalAnswer answer;
        answer.next(named(m_fixture->path(typed)));
        answer.next([replace](QDialog *modal) {
            auto *box = qobject_cast<QMessageBox *>(modal);
            QVERIFY(box);
            box->button(replace ? QMessageBox::Yes : QMessageBox::No)->click();
        });
        press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(answer.allAnswered());
        QCOMPARE(contents(path) == "mine", !replace);
        QCOMPARE(QImage(path).isNull(), !replace);
    }
    void aCancelledDialogWritesNothing()
    {
        click(false);
        ModalAnswer answer;
        answer.next([](QDialog *dialog) { dialog->reject(); });
        const QStringList before = QDir(m_fixture->path(QString())).entryList();
        press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(answer.allAnswered());
        QCOMPARE(QDir(m_fixture->path(QString())).entryList(), before);
    }
    void anotherSuffixIsRejectedWithAMessage()
    {
        LogFile log;
        log.mark();
        click(false);
        ModalAnswer answer;
        answer.next(named(m_fixture->path(QStringLiteral("a.bmp"))));
        press(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(answer.allAnswered());
        QVERIFY(!QFileInfo::exists(m_fixture->path(QStringLiteral("a.bmp"))));
        QCOMPARE(m_fixture->status(), QStringLiteral("图片未能保存：文件名须以 .png、.svg 或 .pdf 结尾"));
    }
    void aFailureIsReportedAndKeepsTheOldFile()
    {
        if (!hasOrdinaryUser())
            QSKIP("root can write everywhere, and there is no other user");
        const QString folder = m_fixture->path(QStringLiteral("closed"));
        QVERIFY(QDir().mkdir(folder));
        const QString path = folder + QStringLiteral("/a.png");
        write(path, "mine");
        QVERIFY(letOthersRead(folder) && letOthersRead(m_fixture->path(QString())));
        CanvasPicture *picture = window().findChild<CanvasPicture *>();
        QVERIFY(picture);
        const int code = asOrdinaryUser([&] {
            picture->save(path);
            if (!m_fixture->status().startsWith(QStringLiteral("图片未能保存：") + path))
                return 1;
            return m_fixture->statusInterval() == 2500 ? 0 : 2;
        });
        QCOMPARE(code, 0);
        QCOMPARE(contents(path), QByteArray("mine"));
    }
    void aMissingFolderIsReported()
    {
        LogFile log;
        log.mark();
        CanvasPicture *picture = window().findChild<CanvasPicture *>();
        QVERIFY(picture);
        const QString path = m_fixture->path(QStringLiteral("gone/a.svg"));
        picture->save(path);
        QVERIFY2(m_fixture->status().startsWith(QStringLiteral("图片未能保存：") + path),
                 qPrintable(m_fixture->status()));
        const QList<LogLine> lines = log.lines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].level, QStringLiteral("error"));
        QVERIFY2(lines[0].message.startsWith(QStringLiteral("picture not saved: ") + path),
                 qPrintable(lines[0].message));
    }
    void keysAreNotShortcutsOfTheWindow()
    {
        // A text field elsewhere still receives Ctrl+C.
        QApplication::clipboard()->setText(QStringLiteral("mine"));
        window().setFocus();
        QTest::keyClick(&window(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("mine"));
    }

private:
    MainWindow &window() { return m_fixture->window(); }
    QCustomPlot *canvas(bool second) const { return second ? m_fixture->canvas_2() : m_fixture->canvas(); }

    QCPGraph *show(const char *box, const char *name)
    {
        m_fixture->box(box)->setChecked(true);
        for (QCustomPlot *each : {canvas(false), canvas(true)}) {
            if (QCPGraph *found = WindowFixture::curve(each, name))
                return found;
        }
        qFatal("%s is not shown", name);
    }

    /** Clicks a corner of a canvas without a curve. */
    void click(bool second)
    {
        window().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window()));
        QTest::mouseClick(canvas(second), Qt::LeftButton, {}, QPoint(3, 3));
        QVERIFY(canvas(second)->hasFocus());
    }

    /** Presses a key in the widget that has the focus. */
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }

    /** Selects a log like the menu entry. */
    void choose(const QString &path)
    {
        write(path, "\n");
        ModalAnswer answer;
        answer.next([path](QDialog *modal) {
            auto *dialog = qobject_cast<QFileDialog *>(modal);
            QVERIFY(dialog);
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
        });
        m_fixture->entry("menuFile", "选择文件(O)")->trigger();
        QCOMPARE(window().filePath(), path);
    }

    QVector<QCPRange> ranges() const
    {
        return {canvas(false)->xAxis->range(), canvas(false)->yAxis->range(), canvas(true)->xAxis->range(),
                canvas(true)->yAxis->range()};
    }

    std::unique_ptr<WindowFixture> m_fixture;
};

QTEST_MAIN(TestMainWindowKeys)
#include "TestMainWindowKeys.moc"
