// OrbuUtil: where the library's files are, what a locale is called, and the host's 16-bit texts.
//
// - A folder that is returned ends in its separator; an empty result means that there is none. Nothing here
//   makes a folder, or looks whether one exists, except where it is said.
// - Folders come from the custom environment file when one is in force (orbuUtilCustomEnv.h), else from the
//   defaults below. The file is read once, by the first question that needs it.
// - Texts are UTF-8. Results are values of the caller's own.
// - Nothing throws or reports; an unknown "$NAME" in the file alone prints a line on standard output.
// - Threads: nothing is locked. The first question belongs into the host's single-threaded start.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/orbuString.h"
#include "orbuutil/tstr.h"

class ORBU_EXPORT OrbuUtil {
public:
    // Kinds of files, each with a folder:      key in the file; default
    enum OrbuFileType {
        CommonBin,           // ORBU_COMMON_BIN_LOCATION; /Applications/Vexmoor/Orbu/R31/
        CommonLib,           // Libraries/ of the framework
        CommonLocalizedData, // Resources/ of the framework, and the locale's folder when one is given
        CommonData,          // Resources/ of the framework
        LogFile,             // ORBU_LOG_FILE_LOCATION; /var/log/Vexmoor/Orbu/R31/
        ErrorTable,          // Resources/ of the framework
        UserSettings,        // ORBU_USER_SETTINGS_FILE_LOCATION; $HOME/Orbu/
    };

    // Files of the application, which have a place only when a custom environment gives them one.
    enum OrbuAPIFileType {
        ApplicationResource, // ORBU_APPLICATION_ORBU_RESOURCE_LOCATION
        ApplicationErrorLog, // ORBU_APPLICATION_ERROR_LOG_FILE
    };

    // --- folders ---

    // The folder of a kind; empty for a value out of range. `locale` counts for CommonLocalizedData alone and
    // may be empty. With a file in force
    // - CommonBin, LogFile and UserSettings are what the file says, and empty when it says nothing: the
    //   defaults are off. The separator added to a value without any "/" is a backslash.
    // - the other four follow ORBU_MAC_FRAMEWORK_LOCATION. Keys of their own are read and have no effect.
    // Hosts depend on both.
    static TStr getOrbuFileLocation(OrbuFileType type, const TStr& locale);

    // The key of a kind in the file; empty for a value out of range.
    static TStr getOrbuCustEnvFileTypeKey(OrbuFileType type);

    // What the file in force says, as it stands; else empty, as there is no default. `locale` has no effect.
    static TStr getOrbuAPIFileLocationOverride(OrbuAPIFileType type, const TStr& locale);
    static TStr getOrbuCustEnvAPIFileTypeKey(OrbuAPIFileType type);

    // The default folders. Those of the framework follow the file in force all the same; the user's is empty
    // without HOME, and "/Orbu/" for an empty one.
    static TStr getOrbuCommonBinLocation();
    static TStr getOrbuCommonLibLocation();
    static TStr getOrbuLocalizedDataLocation(const TStr& locale);
    static TStr getOrbuCommonDataLocation();
    static TStr getOrbuLogFileLocation();
    static TStr getOrbuErrorTableLocation();
    static TStr getOrbuLocalUserDataLocation();

    // Orbu.framework/Versions/31a/ below /Library/Frameworks or the file's ORBU_MAC_FRAMEWORK_LOCATION. A
    // file in force that does not name it takes the framework away: empty.
    static TStr getOrbuFrameworkLocation();

    // "R31": "R" and the major version.
    static TStr getFolderVersionName();

    // `path` with the folder of the locale; `path` itself when either is empty. A path without any "/" gets
    // backslashes.
    static TStr addOrbuLocaleFolder(const TStr& path, const TStr& locale);

    // The first of TMPDIR, TMP, TEMP and TEMPDIR that exists (access(2)), else /tmp, with "/" added: a value
    // that ends in one has two then.
    static TStr getTempFolder();

    // --- locales ---

    // "en_US".
    static TStr getOrbuDefaultLocale();

    // "DE-de" and "de_DE" give "de_DE". With `useDefault` all that is not supported gives the default locale.
    // Without it a text of another shape gives an empty one, and an unsupported locale its normal form: test
    // the result with isValidInternalLocale.
    static TStr getOrbuInternalLocale(const TStr& locale, bool useDefault);

    // Whether `locale` is one of the supported locales, in normal form.
    static bool isValidInternalLocale(const TStr& locale);

    // getOrbuInternalLocale(locale, true).
    static TStr getOrbuLocaleDir(const TStr& locale);

    // --- custom environment ---

    // Loads the file if that has not been tried. 0: a file is in force; 1: neither variable is set; 2: the
    // thin client's file is unusable; 3: the custom environment's is.
    static int loadCustomEnvSettings();

    // Whether a file is in force; loads if that has not been tried.
    static bool hasCustomSettings();

    // Whether the file in force is the thin client's. Does not load: false until something else has.
    static bool isThinClient();

    // Puts the common lib folder behind what is in the library search path of the process (LD_LIBRARY_PATH)
    // with setenv(3), unless it is there or the framework is in its default place. Before threads are
    // started.
    static void setCustomEnvPathVars();

    // --- the host's install location: a store, which nothing here reads ---

    static void setCustomInstallLocation(bool custom);
    static bool isCustomInstallLocation();
    // Also sets the flag: true for a path that is not empty.
    static void setCustomInstallLocationPath(const TStr& path);
    static TStr getCustomInstallLocationPath();
    // Whether the path exists (TPath::exists).
    static bool checkCustomInstallLocationPath(const TStr& path);

    // --- texts of 16-bit units ---

    // Units up to a zero unit, that one included: "a" has 2. 0 for null and for an empty text. Counts no
    // further than 1048576.
    static int getNumChars(const unsigned short* text);

    // Bytes of `length` units, or of getNumChars for -1. 0 for null, an empty text and a length below -1.
    static long getNumBytes(const unsigned short* text, int length);

    // The text up to `length` units or a zero unit; a mark FF FE at the start is taken off. False, and an
    // empty text, for a null record, a length below -1 and a text with surrogates, which the strings of this
    // library do not read.
    static bool orbuSTRINGToTStr(const orbuSTRING* from, TStr& to);
    // An empty text on failure.
    static TStr orbuSTRINGToTStr(const orbuSTRING* from);

    // Stores a new terminated copy, which the caller gives to memory_free; its length is -1 when
    // `zeroTerminated`, else the count of units. No copy, a null pointer, is made of a text that ends inside
    // a character. A null `to` is a programmer's error: it asserts. True.
    static bool TStrToorbuSTRING(const TStr& from, orbuSTRING* to, bool zeroTerminated);

    // --- for callers written for all platforms ---

    // Empty here.
    static TStr getOrbuWinCommonFilesFolder();
    static TStr getOrbuWinAllUsersProfileFolder();
    static TStr getOrbuWinLocalUserDataFolder();

    // Converts nothing here, and callers count on it: `length` becomes 0, `buffer` is not touched. True when
    // the text is not empty.
    static bool makeMultiByteString(const TStr& text, char* buffer, int& length);
};
