// Where the files of the loggers are.
#pragma once

#include "orbuutil/tstr.h"

// `folder`, one "/", `name`.
TStr private_log_path(TStr const& folder, char const* name);

// The path of a log in the user's Orbu folder, which is made if need be (mode 0770); empty when it is not
// there in the end.
TStr private_user_log_path(char const* name);

// The name of the semaphore by which writers to one file take turns; empty when the path names no file.
TStr private_log_mutex_name(TStr const& path);
