#include "ExitCodes.h"

#include <csignal>

namespace {

constexpr EXIT_CODE_ROW EXIT_CODES[] = {
    {EXIT_OK, "success; also when the reader of the output went away"},
    {EXIT_FAILED, "the device or this machine could not do it"},
    {EXIT_USAGE, "wrong command line, or no password given"},
    {EXIT_UNREACHABLE, "no connection to the device, or lost in the middle of a download"},
    {EXIT_REFUSED, "the device refused, or user name or password are wrong"},
    {EXIT_TIMED_OUT, "the device did not answer or stopped sending"},
    {EXIT_ENDED_EARLY, "a download is whole, but the recording ended before the time asked for"},
    {EXIT_INTERRUPTED, "ended by SIGINT (Ctrl-C), after logging out and closing files; during the login at once"},
    {EXIT_TERMINATED, "ended by SIGTERM, after logging out and closing files; during the login at once"},
};

}  // namespace

std::span<const EXIT_CODE_ROW> ExitCodes() { return EXIT_CODES; }

EXIT_CODE SignalExitCode(int nSignal) { return nSignal == SIGTERM ? EXIT_TERMINATED : EXIT_INTERRUPTED; }
