#include "main_utility/upkeep/ImportExportCfg.h"

#include "sdk_common/ThreadState.h"

CImportExportCfg* CImportExportCfg::Instance() {
    static CImportExportCfg instance;
    return &instance;
}

BOOL CImportExportCfg::ExportConfig(int, const char*) { return Failure(HLX_NOSUPPORT); }
BOOL CImportExportCfg::ImportConfig(int, const char*) { return Failure(HLX_NOSUPPORT); }
