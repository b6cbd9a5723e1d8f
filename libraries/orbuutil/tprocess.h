// TProcess: a process to be started, or to be watched by its id.
//
// Owns one `process` record (c_process.h, where results and rules are told). A copy watches the other's pid
// and nothing more: path, arguments and descriptors are not copied. A default-built object has no record:
// everything gives -3 on it. One object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

struct process;

class ORBU_EXPORT TProcess {
public:
    TProcess();
    TProcess(const TStr& path, const TStr& arguments);
    TProcess(int pid);
    TProcess(const TProcess& other);
    TProcess& operator=(const TProcess& other);
    virtual ~TProcess();

    int pid() const;

    // -1 when started, see process_execute. leave_closed: a daemon keeps 0, 1 and 2 closed.
    long execute(bool daemonize, bool leave_closed);

    long status(); // 0 the process exists, -6 it does not
    long wait();   // waits for its end: -2, or -1 after a signal

    // process_split_arguments: words separated by carriage returns.
    static TStr splitArgumentString(const TStr& line);

    // The label goes in as ASCII, an empty one as none.
    void mapDescriptor(int from, int to, bool flag, const TStr& name);

    // The `from` of the mapping with this label, -1 when there is none. Both give the `from`: hosts depend on
    // it. The `to` is told by process_get_to_descriptor alone.
    int fromDescriptor(const TStr& name);
    int toDescriptor(const TStr& name);

private:
    process* mProcess; // null for a default-built object
};
