#pragma once

#include "Fixture.h"
#include "MainWindow.h"
#include "MyCustomPlot.h"

#include <QAction>
#include <QCheckBox>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTest>
#include <QTimer>

#include <memory>
#include <qcustomplot.h>

/** A visible main window in a Fixture, as after the program's start. */
class WindowFixture
{
public:
    WindowFixture()
        : m_window(std::make_unique<MainWindow>())
    {
        if (!QTest::qWaitForWindowExposed(m_window.get()))
            qFatal("the window does not appear");
    }

    ~WindowFixture() { closeWindow(); }

    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /** Deletes the window, which closes the log and the store. Opens the store again, because Fixture closes it. */
    void closeWindow()
    {
        if (!m_window)
            return;
        m_window.reset();
        initData();
    }

    MainWindow &window() { return *m_window; }
    Fixture &fixture() { return m_fixture; }
    QString path(const QString &name) const { return m_fixture.path(name); }

    QCustomPlot *canvas() const { return m_window->findChild<QCustomPlot *>(QStringLiteral("customPlot")); }
    QCustomPlot *canvas_2() const { return m_window->findChild<QCustomPlot *>(QStringLiteral("customPlot_2")); }
    QString status() const { return m_window->statusBar()->currentMessage(); }
    /** Total display time of the status bar's text in milliseconds; -1 if there is no time limit. */
    int statusInterval() const
    {
        const auto *const timer = m_window->statusBar()->findChild<QTimer *>();
        return timer && timer->isActive() ? timer->interval() : -1;
    }
    QCheckBox *box(const char *objectName) const
    {
        auto *const found = m_window->findChild<QCheckBox *>(QString::fromLatin1(objectName));
        if (!found)
            qFatal("no check box %s", objectName);
        return found;
    }

    /** The entry with this text in the given menu. */
    QAction *entry(const char *menu, const char *text) const
    {
        for (QAction *action : m_window->findChild<QMenu *>(QString::fromLatin1(menu))->actions()) {
            if (action->text() == QString::fromUtf8(text))
                return action;
        }
        qFatal("no entry %s in %s", text, menu);
    }

    /** Puts the store in the state after a read, with a few samples in each channel that has a check box. */
    void pretendRead()
    {
        for (const char *label : {"俯仰", "目标俯仰", "俯仰差值", "横滚", "目标横滚", "横滚差值", "航向", "目标航向",
                                  "航向差值", "相对高度", "目标高度", "高度差值", "指示空速", "目标速度", "速度差值"})
            setSamples(label, {1.0, 2.0, 4.0, 3.0});
        dataRead = true;
    }

    /** Curve names in canvas order. The placeholder's name is empty. */
    static QStringList curves(const QCustomPlot *canvas)
    {
        QStringList names;
        for (int i = 0; i < canvas->graphCount(); ++i)
            names.append(canvas->graph(i)->name());
        return names;
    }

    /** The curve with this name, or null. */
    static QCPGraph *curve(const QCustomPlot *canvas, const char *name)
    {
        for (int i = 0; i < canvas->graphCount(); ++i) {
            if (canvas->graph(i)->name() == QString::fromUtf8(name))
                return canvas->graph(i);
        }
        return nullptr;
    }

    static void select(QCPGraph *graph) { graph->setSelection(QCPDataSelection(graph->data()->dataRange())); }

private:
    Fixture m_fixture;
    std::unique_ptr<MainWindow> m_window;
};
