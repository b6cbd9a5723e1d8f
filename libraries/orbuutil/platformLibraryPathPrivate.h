// Seam: the environment variable in which this platform's loader looks for folders of libraries.
#pragma once

inline constexpr char private_platform_library_path_variable[] = "LD_LIBRARY_PATH";
