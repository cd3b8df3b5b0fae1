#include "WkeFileDialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QWebEngineDownloadItem>

namespace
{

/** The folder of the last choice in this run of the program. */
QString &lastFolder()
{
    static QString folder = QStringLiteral("./");
    return folder;
}

void tellFailure(QWidget *parent, const QString &path, const QString &reason)
{
    QMessageBox::warning(parent, QStringLiteral("保存"),
                         QStringLiteral("无法保存 %1：%2").arg(QDir::toNativeSeparators(path), reason));
}

} // namespace

QStringList WkeFileDialogs::chooseFiles(QWidget *parent, bool several)
{
    const QString title = QStringLiteral("打开文件");
    const QString filter
        = QStringLiteral("航线和航迹 (*.json *.geojson *.gpx *.kml *.JSON *.GEOJSON *.GPX *.KML);;所有文件 (*)");
    QStringList files;
    if (several)
        files = QFileDialog::getOpenFileNames(parent, title, lastFolder(), filter);
    else
        files.append(QFileDialog::getOpenFileName(parent, title, lastFolder(), filter));
    files.removeAll(QString());
    if (!files.isEmpty())
        lastFolder() = QFileInfo(files.constFirst()).path();
    return files;
}

void WkeFileDialogs::saveDownload(QWidget *parent, QWebEngineDownloadItem *item)
{
    // The dialog runs an event loop. The page and its downloads may be deleted meanwhile.
    const QPointer<QWebEngineDownloadItem> download(item);
    const QPointer<QWidget> owner(parent);
    // Drops any folder in the page's suggested name: only the user chooses the folder.
    const QString name = QFileInfo(item->suggestedFileName()).fileName();
    const QString path
        = QFileDialog::getSaveFileName(parent, QStringLiteral("保存"), QDir(lastFolder()).filePath(name));
    if (path.isEmpty() || !download)
        return;
    const QFileInfo target(path);
    lastFolder() = target.path();
    download->setDownloadDirectory(target.absolutePath());
    download->setDownloadFileName(target.fileName());
    QObject::connect(download, &QWebEngineDownloadItem::finished, download, [download, owner, path] {
        if (download->state() == QWebEngineDownloadItem::DownloadInterrupted)
            tellFailure(owner, path, download->interruptReasonString());
    });
    download->accept();
}
