#pragma once

#include <QDialog>
#include <memory>

namespace Ui
{
class AboutDialog;
}

/** Names the program, its version and its build. */
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
