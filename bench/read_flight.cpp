// read_flight LOG: reads a log for each line of its standard input, and prints the milliseconds that it took.

#include "Bench.h"
#include "ReadFlight.h"

#include <QString>
#include <cstdio>

int main(int argc, char *argv[])
{
    if (argc != 2)
        return 2;
    const QString path = QString::fromLocal8Bit(argv[1]);
    while (std::getchar() == '\n') {
        bool read = false;
        const double taken = bench::milliseconds([&] {
            const auto result = ostravel::readFlight(path);
            read = std::holds_alternative<ostravel::Flight>(result);
        });
        if (!read)
            return 1;
        std::printf("%.4f\n", taken);
        std::fflush(stdout);
    }
    return 0;
}
