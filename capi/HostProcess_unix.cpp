#include "HostProcess.h"

#include <QCoreApplication>
#include <QTextCodec>
#include <cstring>
#include <langinfo.h>
#include <mutex>

void prepareHostProcess()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // A host that never called setlocale() has the locale "C", in which Qt turns every other letter of a file name
        // into a question mark. Paths come in as UTF-8 and are passed on as such.
        if (QCoreApplication::instance() == nullptr && std::strcmp(nl_langinfo(CODESET), "ANSI_X3.4-1968") == 0)
            QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    });
}
