// A window that acts like a file on the desktop: pressing the mouse starts a file drag, which the tour uses.

#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <cstdio>

namespace
{

class File : public QLabel
{
public:
    explicit File(const QString &path)
        : QLabel(path)
        , m_path(path)
    {
        setWindowTitle(QStringLiteral("file to drag"));
        setFixedSize(400, 120);
    }

protected:
    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *content = new QMimeData;
        content->setUrls({QUrl::fromLocalFile(m_path)});
        auto *drag = new QDrag(this);
        drag->setMimeData(content);
        // The test releases the mouse only after a window accepts the file.
        connect(drag, &QDrag::actionChanged, [](Qt::DropAction action) {
            if (action == Qt::CopyAction) {
                std::puts("wanted");
                std::fflush(stdout);
            }
        });
        drag->exec(Qt::CopyAction);
    }

private:
    QString m_path;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (argc != 2) {
        return 2;
    }
    File file(QString::fromLocal8Bit(argv[1]));
    file.show();
    return QApplication::exec();
}
