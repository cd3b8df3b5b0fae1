#include "ReadReport.h"

#include "ChannelStore.h"
#include "FrameTable.h"

#include <QCoreApplication>
#include <QFont>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>

namespace
{

/** The groups that are decoded from frames of their own. */
constexpr quint8 kReportedCodes[]
    = {frame::kHeartBeat, frame::kControlStatus, frame::kAttitude, frame::kSensor, frame::kTarget, frame::kPayload};

constexpr int kPointSize = 16;

QLabel *centredLabel(const QString &text, const QFont &font, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

/** Appends a row with a name and a value. */
void addLine(QGridLayout *grid, const QString &name, int value, const QFont &font)
{
    auto *line = new QHBoxLayout;
    grid->addLayout(line, grid->rowCount(), 0);
    line->addWidget(centredLabel(name, font, grid->parentWidget()));
    line->addWidget(centredLabel(QString::number(value), font, grid->parentWidget()));
}

} // namespace

ReadReport::ReadReport(ushort frameTotal, ushort frameError, ushort frameSelectedId, QWidget *parent)
    : QDialog(parent)
{
    resize(600, 400);
    auto *grid = new QGridLayout(this);
    QFont font;
    font.setPointSize(kPointSize);
    // The texts are in the catalogue's MainWindow context.
    grid->addWidget(centredLabel(QCoreApplication::translate("MainWindow", "Decode finished:"), font, this), 0, 0);
    addLine(grid, QCoreApplication::translate("MainWindow", "TotalFrame:"), frameTotal, font);
    addLine(grid, QCoreApplication::translate("MainWindow", "ErrorFrame:"), frameError, font);
    if (selectedPlaneEnabled) {
        const QString name = QCoreApplication::translate("MainWindow", "%1# plane's frame:").arg(selectedPlaneId);
        addLine(grid, name, frameSelectedId, font);
    } else {
        const QString name = QCoreApplication::translate("MainWindow", "All plane's frame:");
        addLine(grid, name, frameTotal - frameError, font);
    }
    for (const quint8 code : kReportedCodes) {
        const QString name = QStringLiteral("0x%1:").arg(static_cast<uint>(code), 2, 16, QLatin1Char('0'));
        addLine(grid, name, channelGroup(code)->length(), font);
    }
}
