#pragma once

class QLabel;
class QString;

/**
 * Says in the label of a track plot dialog, and in the log, whether the plots show the track of the last run: they do
 * while no flight has been read in this one. Otherwise the label shows one blank.
 *
 * @param lastData the words for it, in the dialog's own translation
 */
void showTrackNote(QLabel *label, const QString &lastData);
