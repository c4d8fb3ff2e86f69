// A device's configuration as a file.
#pragma once

#include "HLX.h"

/// Both ways are refused with HLX_NOSUPPORT. Any thread.
class CImportExportCfg {
public:
    static CImportExportCfg* Instance();
    CImportExportCfg(const CImportExportCfg&) = delete;
    CImportExportCfg& operator=(const CImportExportCfg&) = delete;

    BOOL ExportConfig(int lUserID, const char* sFileName);
    BOOL ImportConfig(int lUserID, const char* sFileName);

private:
    CImportExportCfg() = default;
};
