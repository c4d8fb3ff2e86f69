#pragma once

#include <string>

#include "ExitCodes.h"
#include "Interrupt.h"
#include "Options.h"

// Finds the password: --password-file, else HLX_PASSWORD, else a prompt without echo if a person sits at a terminal.
// EXIT_OK with the password, or the code to end with after the failure was told.
EXIT_CODE ReadPassword(const CONNECT_OPTIONS& options, CInterrupt& interrupt, std::string& strPassword);

// Overwrites the characters before they are let go.
void ForgetPassword(std::string& strPassword);
