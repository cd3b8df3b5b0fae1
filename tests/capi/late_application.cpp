// A host that reads a flight on a thread of its own before it makes its Qt application: late_application FOLDER.
//
// Qt complains when the application is not made on the thread that it takes for the main one. Nothing here may touch Qt
// before the first read, whose thread still lives when the application is made.

#include "ostravel.h"

#include <QCoreApplication>
#include <QThread>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>
#include <thread>

namespace
{

int faults = 0;

void check(bool good, const char *what)
{
    if (good)
        return;
    std::fprintf(stderr, "not true: %s\n", what);
    ++faults;
}

void noteMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    std::fprintf(stderr, "Qt says: %s\n", qUtf8Printable(text));
    ++faults;
}

bool isRead(const std::string &path)
{
    ostravel_flight *const flight = ostravel_read(path.c_str(), nullptr, nullptr);
    const bool read = flight != nullptr;
    ostravel_free(flight);
    return read;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    const std::string path = std::string(argv[1]) + "/\xE9\xA3\x9E\xE8\xA1\x8C.txt";
    std::ofstream(path) << "AAEC0301\n";
    std::promise<bool> read;
    std::promise<void> end;
    std::thread reader([&] {
        read.set_value(isRead(path));
        end.get_future().wait();
    });
    check(read.get_future().get(), "a file with Chinese letters in its name is read on another thread");

    qInstallMessageHandler(noteMessage);
    const QCoreApplication application(argc, argv);
    check(application.thread() == QThread::currentThread(), "the application belongs to the thread that made it");
    check(isRead(path), "it is read again beside an application");
    end.set_value();
    reader.join();
    return faults == 0 ? 0 : 1;
}
