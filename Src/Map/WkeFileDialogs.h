#pragma once

#include <QStringList>

class QWebEngineDownloadItem;
class QWidget;

/** The file dialogs of the map page. Both block until the user answers. Main thread only. */
namespace WkeFileDialogs
{

/** Asks for one or several files to open. Empty if the user cancels. */
QStringList chooseFiles(QWidget *parent, bool several);

/**
 * Asks where to save a file of the page and saves it. Replaces an existing file only if the user agrees. Writes nothing
 * if the user cancels. Reports a failure in a message box.
 */
void saveDownload(QWidget *parent, QWebEngineDownloadItem *item);

} // namespace WkeFileDialogs
