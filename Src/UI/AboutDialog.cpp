#include "AboutDialog.h"

#include "Release.h"
#include "ui_AboutDialog.h"

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::AboutDialog>())
{
    m_ui->setupUi(this);
    const QString version = QString::fromLatin1(kVersion);
    const QDateTime built = buildDateTime();
    m_ui->labelProduct->setText(tr("Ostravel for Windows"));
    m_ui->labelBuild->setText(tr("Version v") + version);
    m_ui->labelBuild->setToolTip(tr("v") + version + QLatin1Char('.') + buildDateText(built) + QLatin1Char('.')
                                 + QString::number(kBuildCounter));
    m_ui->labelTime->setText(QStringLiteral("Build on ") + buildDateTimeText(built));
    m_ui->labelCopyright->setText(tr("Author ") + QStringLiteral("Corvenne team"));
    setWindowTitle(tr("About Ostravel"));
}

AboutDialog::~AboutDialog() = default;
