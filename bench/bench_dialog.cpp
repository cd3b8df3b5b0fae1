// The data settings dialog, compared with its form with plain check boxes instead of switches.

#include "AppConfig.h"
#include "Bench.h"
#include "ChannelStore.h"
#include "GlobalSettingDialog.h"
#include "SwitchButton.h"

#include <QApplication>
#include <QCheckBox>
#include <QTabWidget>
#include <QTranslator>

#include <spdlog/spdlog.h>

// Includes the form a second time under other names, with QCheckBox instead of SwitchButton.
#define SwitchButton QCheckBox
#define Ui_GlobalSettingDialog Ui_PlainDialog
#define GlobalSettingDialog PlainDialog
#include "ui_GlobalSettingDialog.h"
#undef GlobalSettingDialog
#undef Ui_GlobalSettingDialog
#undef SwitchButton

namespace
{

constexpr double kTarget = 1.5;

class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget *widget)
        : QObject(widget)
    {
        widget->installEventFilter(this);
    }

    void wait()
    {
        m_painted = false;
        while (!m_painted)
            QApplication::processEvents();
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_painted = m_painted || event->type() == QEvent::Paint;
        return false;
    }

private:
    bool m_painted = false;
};

void paint(QDialog &dialog, bool allTabs)
{
    {
        PaintWatch watch(&dialog);
        dialog.show();
        watch.wait();
    }
    if (!allTabs)
        return;
    auto *const tabs = dialog.findChild<QTabWidget *>(QStringLiteral("tabWidget"));
    for (int i = 1; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        PaintWatch watch(tabs->currentWidget());
        watch.wait();
    }
}

QSize sizeOnScreen()
{
    GlobalSettingDialog dialog(nullptr);
    dialog.show();
    return dialog.size();
}

bench::Figures compare(const QSize &size, bool allTabs)
{
    return bench::bestOfSeven(
        [&] {
            QDialog dialog;
            Ui::PlainDialog form;
            form.setupUi(&dialog);
            dialog.resize(size);
            paint(dialog, allTabs);
        },
        [&] {
            GlobalSettingDialog dialog(nullptr);
            paint(dialog, allTabs);
        });
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QTranslator translator;
    translator.load(QStringLiteral(":/Ostravel_zh.qm"));
    QApplication::installTranslator(&translator);
    // The log must not mix with the table on the standard output.
    spdlog::set_level(spdlog::level::off);
    initData();

    AppConfig::getInstance().applyDarkStyle();
    const QSize size = sizeOnScreen();
    bench::printRow("data settings dialog, 144 switches, until painted", compare(size, false), kTarget);
    bench::printRow("the same, all ten tabs painted", compare(size, true), kTarget);
    clearData();
    return 0;
}
