#pragma once
#include <string>
#include <string_view>

#include "shell/GMTrace.h"

namespace velmora {

// The report of an unexpected error: enough about the program and the
// machine for someone else to understand it.
namespace GuruMeditation {

// Lines: "<process> error details:", "Version ...", "File: ...  Line: ...",
// "Trace: ...", "OS: ...", "Mac Cores: ...  Arch: ...", the error, then a
// line of 39 hyphens.
std::string errorToDetailedString(std::string_view error, const GMTrace* crumbs, std::string_view file, int line);

// On the main queue: logs the report and shows the error with a button that
// copies the report to the clipboard.
void showErrorAlert(std::string error, const GMTrace* trace, std::string_view file, int line);

// Puts text on the desktop clipboard through wl-copy, xclip or xsel; false
// when none of them is there or it failed.
bool copyToClipboard(const std::string& text);

}  // namespace GuruMeditation

}  // namespace velmora
