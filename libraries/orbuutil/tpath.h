// TPath: a TStr that names a place in the file system.
//
// - Members forward to the path_ functions (c_path.h); what is said there about senses of results and about
//   backslashes that become "/" in place holds here, for const members too. exists() alone works on a copy.
// - The in-place members (push, unshift, pop, shift, +=, cdUp, setFile) do not drop the view that TStr
//   caches: a `const char*` taken before reads as before until the next mutator of TStr. Take views
//   afterwards only from a copy, or after clearCachedEncoding().
// - Null: a copy of a null text is empty; a null handle stays one until text is put in.
// - Threads: as TStr. The first call of appPath belongs on one thread.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

class ORBU_EXPORT TPath : public TStr {
public:
    TPath();
    TPath(const char* utf8);
    TPath(const TStr& path);
    TPath(const TPath& other); // shares the other's private block
    // Adopts a `str*` without copying: the TPath owns it from now on.
    explicit TPath(void* const& adopted);
    ~TPath() override;

    operator void*() const; // the `str` object, still owned by the TPath

    // Makes the private block, one zeroed word, if there is none. Nothing in the library does.
    void initPrivate();

    // Assign the text as TStr does; the private block is not touched.
    TPath& operator=(const TPath& other);
    TPath& operator=(const TStr& path);
    TPath& operator=(const char* utf8);

    bool operator==(const TPath& other) const;
    bool operator==(const TStr& path) const;
    bool operator==(const char* utf8) const;
    bool operator!=(const TPath& other) const;
    bool operator!=(const TStr& path) const;
    bool operator!=(const char* utf8) const;

    // Join with one separator: a joined copy, or in place.
    TPath operator+(const TPath& part) const;
    TPath operator+(const TStr& part) const;
    TPath operator+(const char* part) const;
    TPath& operator+=(const TPath& part);
    TPath& operator+=(const TStr& part);
    TPath& operator+=(const char* part);
    TPath& push(const TStr& part);
    TPath& unshift(const TStr& part);

    // Cut off and return the last, or the first, component.
    TPath pop();
    TPath shift();

    bool cdUp();                               // pop, dropping the component; true always
    void setFile(const TStr& path);            // replaces the whole text (str_cpy)
    TStr baseName();                           // path_basename
    TStr extension();                          // path_ext
    TPath absFilePath() const;                 // path_absolute
    TPath absPath() const;                     // the same
    TPath absFilePath(const TStr& name) const; // a file in this directory, absolute
    TPath dirPath(bool absolute) const;        // less the last component, made absolute before if asked
    TPath dirName();                           // less the last component

    bool exists() const; // false for an empty path
    bool isFile() const;
    bool isDir() const;
    bool isWritable() const;
    bool isReadable() const;
    long size() const; // bytes in the file, 0 when it is not there

    // mkdir(2) with the low 16 bits of `mode`: true on success.
    bool mkdir(int mode);

    // Makes this directory and the missing ones above it; true when it is there in the end.
    bool mkpath(int mode);

    // unlink(2): 0 on success, the reverse of mkdir.
    int remove();

    // One fixed folder for the life of the process, told at the first call: the folder of the program
    // `argv0`, looked for from the current directory; the current directory when it is not there. A null
    // argv0 stands for the current directory itself, so it gives the parent of the directory that was current
    // then. Later calls ignore `argv0` and every chdir: what is derived from it counts on one answer.
    static TPath appPath(const char* argv0);

private:
    struct Block;
    Block* mBlock; // null by default
};
