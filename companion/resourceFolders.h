// Where the words of the dialogs stand.
#pragma once

#include <string>
#include <vector>

// The folders that hold a folder for each locale, the one to ask first at the front: the localized data of
// the locations in force, then that of the runtime around this program. Not for two threads at once: asks the
// library.
std::vector<std::string> resourceFolders();
