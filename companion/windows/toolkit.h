// Starting the toolkit, which happens once in a process.
#pragma once

// Opens the display; false when there is none. The locale of the process stays as it is: other threads live
// by it (the server reads and writes numbers in "C"), and the windows have words of their own.
bool startToolkit();
