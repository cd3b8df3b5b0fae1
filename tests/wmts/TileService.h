#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>

/** The real program, copied to a temporary folder with an empty folder tiles. */
class TileService
{
public:
    explicit TileService(const QString &program)
        : m_program(m_folder.filePath(QStringLiteral("wmts.exe")))
    {
        if (!QFile::copy(program, m_program) || !QDir(m_folder.path()).mkdir(QStringLiteral("tiles")))
            qFatal("cannot copy %s", qPrintable(program));
    }
    ~TileService() { stop(); }
    Q_DISABLE_COPY_MOVE(TileService)

    QString folder() const { return m_folder.path(); }
    QString tiles(const QString &name) const { return m_folder.filePath(QStringLiteral("tiles/") + name); }
    quint16 port() const { return m_port; }
    QProcess &process() { return m_process; }

    /** Starts the service at a free port. Returns false if the program ends instead. */
    bool start()
    {
        m_process.start(m_program, {QStringLiteral("--port"), QStringLiteral("0")});
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(30000))
                return false;
        const QByteArray line = m_process.readLine().trimmed();
        m_port = static_cast<quint16>(line.mid(line.lastIndexOf(':') + 1).chopped(1).toUInt());
        return m_port != 0;
    }

    /** Asks the service to end. @return the exit code, or -1 if it did not end in time */
    int stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
        m_process.terminate();
        if (m_process.waitForFinished(10000))
            return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
        m_process.kill();
        m_process.waitForFinished();
        return -1;
    }

    bool isRunning()
    {
        m_process.waitForFinished(0);
        return m_process.state() == QProcess::Running;
    }

    int openFiles() const
    {
        const QDir folder(QStringLiteral("/proc/%1/fd").arg(m_process.processId()));
        return folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    }

    bool connectTo(QTcpSocket &socket) const
    {
        socket.connectToHost(QStringLiteral("127.0.0.1"), m_port);
        return socket.waitForConnected(10000);
    }

    /** Reads until the other side closes the connection, for 20 s at most. */
    static QByteArray readToEnd(QTcpSocket &socket)
    {
        QElapsedTimer timer;
        timer.start();
        while (socket.state() == QAbstractSocket::ConnectedState && timer.elapsed() < 20000)
            socket.waitForReadyRead(500);
        return socket.readAll();
    }

    /** Sends the bytes and returns the whole answer. */
    QByteArray ask(const QByteArray &bytes) const
    {
        QTcpSocket socket;
        if (!connectTo(socket))
            return "no connection";
        socket.write(bytes);
        while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(10000)) { }
        return readToEnd(socket);
    }
    QByteArray get(const QByteArray &path) const
    {
        return ask(withHost("GET " + path + " HTTP/1.1\r\nConnection: close\r\n\r\n"));
    }

    /** The Host header, which every request needs. */
    QByteArray hostLine() const { return "Host: 127.0.0.1:" + QByteArray::number(m_port) + "\r\n"; }
    QByteArray withHost(QByteArray requests) const
    {
        return requests.replace(" HTTP/1.1\r\n", " HTTP/1.1\r\n" + hostLine());
    }

    /** 0 if the text is not an HTTP answer. */
    static int statusOf(const QByteArray &answer)
    {
        return answer.startsWith("HTTP/1.1 ") ? answer.mid(9, 3).toInt() : 0;
    }
    static QByteArray bodyOf(const QByteArray &answer) { return answer.mid(answer.indexOf("\r\n\r\n") + 4); }

private:
    QTemporaryDir m_folder;
    QString m_program;
    QProcess m_process;
    quint16 m_port = 0;
};
