#include "Arguments.h"
#include "Batch.h"
#include "Listing.h"
#include "Report.h"
#include "Terminal.h"

#include <QCoreApplication>
#include <cstdio>

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
    return wanted.action == Arguments::Action::List ? listContents(wanted) : runBatch(wanted);
}

} // namespace

int main(int argc, char *argv[])
{
    terminal::begin();
    const QCoreApplication application(argc, argv);
    const int code = run(QCoreApplication::arguments().mid(1));
    terminal::end();
    return code;
}
