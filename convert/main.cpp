#include "Arguments.h"
#include "Batch.h"
#include "FreedMemory.h"
#include "Listing.h"
#include "Report.h"
#include "Terminal.h"

#include <QCoreApplication>
#include <cstdio>
#include <exception>

namespace
{

int run(const QStringList &arguments)
{
    const auto parsed = parseArguments(arguments);
    if (const auto *const early = std::get_if<EarlyEnd>(&parsed)) {
        std::fputs(qUtf8Printable(early->text), early->status == status::kDone ? stdout : stderr);
        return early->status;
    }
    const auto &wanted = std::get<Arguments>(parsed);
    const int code = wanted.action == Arguments::Action::List ? listContents(wanted) : runBatch(wanted);
    return isOutputLost() ? status::kFailed : code;
}

} // namespace

int main(int argc, char *argv[])
{
    terminal::begin();
    keepFreedMemory();
    const QCoreApplication application(argc, argv);
    int code = status::kFailed;
    try {
        code = run(QCoreApplication::arguments().mid(1));
    } catch (const std::exception &failure) { // the memory runs out
        std::fprintf(stderr, "ostravel-convert: %s\n", failure.what());
    }
    terminal::end();
    return code;
}
