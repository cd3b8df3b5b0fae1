#pragma once

#include "AppConfig.h"
#include "ChannelStore.h"
#include "Geodesy.h"
#include "Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTranslator>

#include <spdlog/spdlog.h>

/**
 * The environment of one test: its own working directory, a clean application directory, an open log, an empty
 * store, and all globals at their initial values.
 *
 * Create it at the start of a test or in init(). Needs the application object. It cleans the application directory
 * of the test program, so each test program needs its own directory.
 */
class Fixture
{
public:
    enum class Catalogue { Installed, Missing };

    explicit Fixture(Catalogue catalogue = Catalogue::Installed)
        : m_before(QDir::currentPath())
    {
        if (!m_dir.isValid() || !QDir::setCurrent(m_dir.path()))
            qFatal("no working directory for the test");
        cleanApplicationDir();
        resetGlobals();
        if (catalogue == Catalogue::Installed) {
            if (!m_translator.load(QStringLiteral(":/Ostravel_zh.qm")))
                qFatal("the Chinese catalogue is not among the resources");
            QCoreApplication::installTranslator(&m_translator);
        }
        AppConfig &config = AppConfig::getInstance();
        config.setTheme(darkTheme);
        config.setTouchMode(false);
        config.setShowFactor(false);
        config.initPaths();
        config.createPlotDir();
        config.initLogger();
        initData();
    }

    ~Fixture()
    {
        clearData();
        // The test may already have closed the log.
        if (spdlog::get("file_logger"))
            closeLogger();
        QCoreApplication::removeTranslator(&m_translator);
        resetGlobals();
        cleanApplicationDir();
        QDir::setCurrent(m_before);
    }

    Fixture(const Fixture &) = delete;
    Fixture &operator=(const Fixture &) = delete;

    /** The working directory. It contains only "logs". */
    QString dir() const { return m_dir.path(); }
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString applicationPath(const QString &name) const
    {
        return QCoreApplication::applicationDirPath() + QLatin1Char('/') + name;
    }

    /**
     * Moves the track files to a folder that every user can write to. The application directory may be inside a folder
     * that only its owner can enter.
     */
    bool letOthersWriteTracks() const
    {
        const QString folder = path(QStringLiteral("myPlot"));
        AppConfig &config = AppConfig::getInstance();
        config.getDataPath() = folder + QStringLiteral("/data.txt");
        config.getAttackDataPath() = folder + QStringLiteral("/data_attack.txt");
        return QDir().mkpath(folder)
            && QFile::setPermissions(
                   folder, QFile::permissions(folder) | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther);
    }

    /** Replaces all channels with new, empty ones, as each decode does. */
    static void renewStore()
    {
        clearData();
        initData();
    }

    static void resetGlobals()
    {
        selectedPlaneEnabled = false;
        selectedPlaneId = 0;
        startTimeFromUser = false;
        startDateTime = QDateTime::currentDateTime();
        sampleInterval = 200;
        dataRead = false;
        originLat = 33.947071f;
        originLng = 113.91378f;
        longitudeScale
            = double(ostravel::longitude_scale({ostravel::truncatedToLocationUnit(double(originLat) * 10000000.0),
                                                ostravel::truncatedToLocationUnit(double(originLng) * 10000000.0)}));
        for (std::vector<double> *track : {&trackX, &trackY, &trackZ, &attackTrackX, &attackTrackY, &attackTrackZ})
            track->clear();
        defaultColor = QColor(Qt::black);
        targetColor = QColor(Qt::red);
    }

private:
    static void cleanApplicationDir()
    {
        const QDir dir(QCoreApplication::applicationDirPath());
        QFile::remove(dir.filePath(QStringLiteral("config.ini")));
        QDir(dir.filePath(QStringLiteral("config.ini"))).removeRecursively();
        QDir(dir.filePath(QStringLiteral("myPlot"))).removeRecursively();
    }

    QTemporaryDir m_dir;
    QString m_before;
    QTranslator m_translator;
};

/** Sets the samples of a channel, so that a test needs no decode. */
inline void setSamples(const char *label, const QVector<double> &samples)
{
    MyGraph *graph = findGraph(QString::fromUtf8(label));
    if (!graph)
        qFatal("no channel %s", label);
    graph->setYvalue(samples);
}
