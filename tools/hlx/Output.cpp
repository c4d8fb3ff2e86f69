#include "Output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

namespace {

int WriteAll(int nFd, std::string_view strText) {
    while (!strText.empty()) {
        const ssize_t nWritten = write(nFd, strText.data(), strText.size());
        if (nWritten < 0 && errno == EINTR) continue;
        if (nWritten < 0) return errno;
        strText.remove_prefix(static_cast<size_t>(nWritten));
    }
    return 0;
}

int g_nErrors = STDERR_FILENO;  // our way to standard error
bool g_bFiguresOnLine = false;  // the cursor stands behind a line of figures

void EndFiguresLine() {
    if (g_bFiguresOnLine) WriteAll(g_nErrors, "\n");
    g_bFiguresOnLine = false;
}

bool Coloured() {
    const char* sNoColor = getenv("NO_COLOR");
    const char* sTerm = getenv("TERM");
    return isatty(g_nErrors) && (!sNoColor || !*sNoColor) && sTerm && strcmp(sTerm, "dumb") != 0;
}

void PrintErrorLine(std::string_view strText) {
    PrintNote(fmt::format("{} {}", Coloured() ? "\033[1;31mhlx:\033[0m" : "hlx:", strText));
}

}  // namespace

int PrintData(std::string_view strText) { return WriteAll(STDOUT_FILENO, strText); }

int PrintJson(const nlohmann::ordered_json& record) {
    return PrintData(record.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

EXIT_CODE PrintedExit(int nErrno) {
    if (nErrno == 0 || nErrno == EPIPE) return EXIT_OK;
    PrintErrorLine(fmt::format("cannot write to standard output: {}", strerror(nErrno)));
    return EXIT_FAILED;
}

void PrintNote(std::string_view strText) {
    EndFiguresLine();
    WriteAll(g_nErrors, fmt::format("{}\n", strText));
}

bool FiguresShown() { return isatty(g_nErrors) == 1; }

void PrintFigures(std::string_view strText) {
    if (!FiguresShown()) return;
    WriteAll(g_nErrors, fmt::format("\r\033[K{}", strText));
    g_bFiguresOnLine = true;
}

void ClearFigures() {
    if (g_bFiguresOnLine) WriteAll(g_nErrors, "\r\033[K");
    g_bFiguresOnLine = false;
}

void SilenceLibrary() {
    const int nNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const int nOurs = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (nNull >= 0 && nOurs >= 0) {
        g_nErrors = nOurs;
        dup2(nNull, STDERR_FILENO);
    }
    if (nNull >= 0) close(nNull);
}

EXIT_CODE Fail(bool bJson, std::string_view strWhat, const ERROR_ROW& row) {
    PrintErrorLine(fmt::format("{}: {} ({}, {})", strWhat, row.sSentence, row.sName, row.dwNumber));
    if (bJson) {
        PrintJson({{"event", "error"},
                   {"what", strWhat},
                   {"number", row.dwNumber},
                   {"name", row.sName},
                   {"message", row.sSentence},
                   {"exit", static_cast<int>(row.eExit)}});
    }
    return row.eExit;
}

EXIT_CODE Fail(bool bJson, std::string_view strSentence, EXIT_CODE eExit) {
    PrintErrorLine(strSentence);
    if (bJson) PrintJson({{"event", "error"}, {"message", strSentence}, {"exit", static_cast<int>(eExit)}});
    return eExit;
}
