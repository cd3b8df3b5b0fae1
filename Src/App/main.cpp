#include "AppConfig.h"
#include "Logging.h"
#include "MainWindow.h"

#include <QApplication>
#include <QTranslator>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);

    const QString family = QStringLiteral("Microsoft YaHei");
    // If that family is not installed, a sans-serif font with Chinese glyphs replaces it.
    QFont::insertSubstitutions(family, {QStringLiteral("Noto Sans CJK SC"), QStringLiteral("WenQuanYi Micro Hei")});
    QFont font = QApplication::font();
    font.setFamily(family);
    QApplication::setFont(font);

    qRegisterMetaType<QList<quint8>>("QList<quint8>");

    QTranslator translator;
    translator.load(QStringLiteral(":/Ostravel_zh.qm"));
    QApplication::installTranslator(&translator);

    AppConfig::getInstance().init();
    logToBoth(info, "====================================");
    logToBoth(info, "=============== start ==============");
    logToBoth(info, "====================================");

    MainWindow window(nullptr);
    window.show();
    return QApplication::exec();
}
