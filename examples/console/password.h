#pragma once

#include <string>

#include "foundation/secret.h"

// From the environment variable KORVA_PASSWORD, else asked for; never from the command line, which every process can read.
// Throws exc::runtime_exc_t where there is nobody to ask.
win::secret_t read_password(const std::wstring& account);
