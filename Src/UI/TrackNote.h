#pragma once

class QLabel;
class QString;

/**
 * Shows a note in a track plot dialog, and logs it, when no flight has been read in this run of the program: the plots
 * then show the track of an earlier run. Otherwise sets the label to one space.
 *
 * @param lastData the note, translated
 */
void showTrackNote(QLabel *label, const QString &lastData);
