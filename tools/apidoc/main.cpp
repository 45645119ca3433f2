// vesk-apidoc: prints the bus interface as Markdown or as JSON.
#include <cstdio>
#include <cstring>

#include "tools/apidoc/apidoc.h"

int main(int argc, char **argv)
{
    if (argc == 2 && strcmp(argv[1], "--markdown") == 0) {
        fputs(markdown_reference().c_str(), stdout);
    } else if (argc == 2 && strcmp(argv[1], "--json") == 0) {
        puts(json_description().pretty().c_str());
    } else {
        fputs("Usage: vesk-apidoc --markdown | --json\n", stderr);
        return 2;
    }
    return fflush(stdout) == 0 ? 0 : 1;
}
