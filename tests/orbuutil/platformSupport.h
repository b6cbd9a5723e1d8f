// What the tests of files and processes share.
#pragma once

#include "support/files.h"
