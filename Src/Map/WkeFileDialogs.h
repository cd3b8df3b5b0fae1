#pragma once

#include <QStringList>

class QWebEngineDownloadItem;
class QWidget;

/** The two file dialogs of the map's page. Both block until they are answered. Main thread only. */
namespace WkeFileDialogs
{

/** Files to open for a file field of the page, one or several; empty when the user cancels. */
QStringList chooseFiles(QWidget *parent, bool several);

/**
 * Asks where a file that the page saves goes, and saves it there. An existing file is replaced only when the user
 * agrees. Cancelled: nothing is written. A failure is told in a message box.
 */
void saveDownload(QWidget *parent, QWebEngineDownloadItem *item);

} // namespace WkeFileDialogs
