// A fake python.exe: appends its arguments to a file in the working directory and prints an error.

#include <cstdio>

int main(int argc, char *argv[])
{
    if (std::FILE *const file = std::fopen("asked.txt", "ab")) {
        for (int i = 1; i < argc; ++i)
            std::fprintf(file, "%s%c", argv[i], i + 1 < argc ? ' ' : '\n');
        std::fclose(file);
    }
    std::fprintf(stderr, "nothing drawn {}\n");
    return 1;
}
