#include <QApplication>
#include <QFile>
#include <QFont>
#include <QMetaType>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

static QString styleOf(const char *path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? QTextStream(&file).readAll() : QString();
}

static void reportState()
{
    const QString style = qApp->styleSheet();
    const char *theme = "other";
    if (style.isEmpty())
        theme = "none";
    else if (style == styleOf(":qdarkstyle/light/lightstyle.qss"))
        theme = "light";
    else if (style == styleOf(":qdarkstyle/dark/darkstyle.qss"))
        theme = "dark";
    std::printf("report: font %s\n", qPrintable(QApplication::font().family()));
    std::printf("report: list of ids %s\n",
                QMetaType::type("QList<quint8>") == QMetaType::UnknownType ? "unknown" : "known");
    std::printf("report: style %s\n", theme);
    std::printf("report: end\n");
    std::fflush(stdout);
}

/** Has the program say what it set up, as soon as its event loop turns. */
static void reportLater()
{
    QTimer::singleShot(0, qApp, reportState);
}

Q_COREAPP_STARTUP_FUNCTION(reportLater)
