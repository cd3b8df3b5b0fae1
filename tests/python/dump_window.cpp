// dump_window LOG OUT [TASK...]: reads a log as the window does and writes what the store has then.
//
// OUT gets for each of the 143 channels a line "LABEL SAMPLES" and the samples as they lie in memory; then the three
// axes of the track and of the attack track alike.

#include "DataHandler.h"
#include "Fixture.h"
#include "ModalAnswer.h"

#include <QApplication>
#include <QPushButton>
#include <QTableWidget>
#include <cstdio>

namespace
{

void put(QFile &out, const QString &name, const double *samples, qint64 count)
{
    out.write(name.toUtf8() + ' ' + QByteArray::number(count) + '\n');
    out.write(reinterpret_cast<const char *>(samples), count * qint64{sizeof(double)});
}

void tick(ModalAnswer &answer, const QStringList &ids)
{
    answer.next([ids](QDialog *dialog) {
        auto *const table = dialog->findChild<QTableWidget *>();
        for (const QString &id : ids) {
            for (int row = 0; row < table->rowCount(); ++row) {
                if (table->item(row, 0)->text().toInt() == id.toInt())
                    table->item(row, 3)->setCheckState(Qt::Checked);
            }
        }
        dialog->findChild<QPushButton *>()->click();
    });
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        return 2;
    QFile out(QFileInfo(arguments.at(2)).absoluteFilePath());
    const QString log = QFileInfo(arguments.at(1)).absoluteFilePath();
    const Fixture fixture;
    DataHandler handler;
    ModalAnswer answer;
    if (arguments.size() > 3)
        tick(answer, arguments.mid(3));
    handler.readDataSlot(log);
    if (!answer.allAnswered() || !out.open(QIODevice::WriteOnly))
        return 1;
    for (const ChannelGroup &group : channelGroups()) {
        for (int row = 0; row < group.count; ++row) {
            const MyGraph *const graph = group.channels[row];
            put(out, graph->graphName(), graph->yvalue().constData(), graph->yvalue().size());
        }
    }
    for (const auto *axis : {&trackX, &trackY, &trackZ, &attackTrackX, &attackTrackY, &attackTrackZ})
        put(out, QStringLiteral("track"), axis->data(), qint64(axis->size()));
    return out.flush() ? 0 : 1;
}
