#include "orbuutil/tprocess.h"

#include "orbuutil/c_process.h"
#include "orbuutil/ownersPrivate.h"

#include <utility>

TProcess::TProcess() : mProcess(nullptr) {}

TProcess::TProcess(const TStr& path, const TStr& arguments)
    : mProcess(process_init(path.handle(), arguments.handle())) {}

TProcess::TProcess(int pid) : mProcess(process_from_pid(pid)) {}

TProcess::TProcess(const TProcess& other) : mProcess(process_from_pid(other.pid())) {}

TProcess& TProcess::operator=(const TProcess& other) {
    TProcess copy(other);
    std::swap(mProcess, copy.mProcess);
    return *this;
}

TProcess::~TProcess() { process_uninit(mProcess); }

int TProcess::pid() const { return process_pid(mProcess); }

long TProcess::execute(bool daemonize, bool leave_closed) {
    return process_execute(mProcess, daemonize ? 1 : 0, leave_closed ? 1 : 0);
}

long TProcess::status() { return process_status(mProcess); }

long TProcess::wait() { return process_wait(mProcess, 0); }

TStr TProcess::splitArgumentString(const TStr& line) { return TStr(process_split_arguments(line.handle())); }

void TProcess::mapDescriptor(int from, int to, bool flag, const TStr& name) {
    MemoryOwner<char> const ascii(name.isEmpty() ? nullptr : name.cstr_alloc());
    process_map_descriptor(mProcess, from, to, flag ? 1 : 0, ascii.get());
}

int TProcess::fromDescriptor(const TStr& name) {
    int descriptor = -1;
    process_get_from_descriptor(mProcess, name.toUtf8(), &descriptor);
    return descriptor;
}

int TProcess::toDescriptor(const TStr& name) { return fromDescriptor(name); }
