#pragma once

#include <QDialog>
#include <QList>
#include <memory>

namespace Ui
{
class DataListDia;
}

/** Lists the flight tasks of a database; the user ticks those to read. */
class DataListDia : public QDialog
{
    Q_OBJECT

public:
    /** Starts with an empty list. */
    explicit DataListDia(QWidget *parent);
    ~DataListDia() override;

    /** Appends a task. @param ctime creation time in milliseconds since the epoch */
    void addRow(quint8 id, const QString &name, quint64 ctime);
    /** The ticked ids, in ticking order. */
    QList<quint8> selectedIds() const { return m_selectedIds; }

signals:
    /** The button was pressed. */
    void doSendList(QList<quint8> ids);

private slots:
    void on_pushButton_clicked();

private:
    void onCellChanged(int row, int column);

    std::unique_ptr<Ui::DataListDia> m_ui;
    QList<quint8> m_selectedIds;
};
