#include <exception>
#include <string>

#include "CommandLine.h"
#include "Output.h"

int main(int argc, char** argv) {
    try {
        CInterrupt interrupt;  // before every other thread
        EXIT_CODE eExit = EXIT_OK;
        const auto line = ReadCommandLine(argc, argv, eExit);
        return line ? line->pfnRun(line->options, interrupt) : eExit;
    } catch (const std::exception& error) {
        PrintNote(std::string("hlx: ") + error.what());
        return EXIT_FAILED;
    }
}
