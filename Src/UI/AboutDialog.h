#pragma once

#include <QDialog>
#include <memory>

namespace Ui
{
class AboutDialog;
}

/** Shows the program's name, version and build. */
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    /** Fills in the release values. */
    explicit AboutDialog(QWidget *parent);
    ~AboutDialog() override;

private:
    std::unique_ptr<Ui::AboutDialog> m_ui;
};
