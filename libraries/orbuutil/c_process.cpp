#include "orbuutil/c_process.h"

#include "orbuutil/c_daemonPrivate.h"
#include "orbuutil/c_path.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/c_strops.h"
#include "orbuutil/c_syslog.h"
#include "orbuutil/c_syslogPrivate.h"
#include "orbuutil/ownersPrivate.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr long labelBytes = 16;
constexpr unsigned long argumentSlots = 257;
constexpr char environmentName[] = "PROCESS_ARGUMENTS=";
constexpr std::size_t environmentNameBytes = sizeof environmentName - 1;

struct MappedDescriptor {
    std::int32_t from; // 0 once closed
    std::int32_t to;
    std::uint32_t flag;
    char name[labelBytes]; // not terminated when it fills up
    MappedDescriptor* next;
    bool closed; // tells a closed `from` from a mapped descriptor 0
};

bool endedNormally(std::int32_t status) { return (status & 0x7F) == 0; }

} // namespace

struct process {
    str* path;
    str* arguments;
    std::int32_t pid; // 0 when none, -1 after a failed fork
    std::int32_t status;
    MappedDescriptor* descriptors;
};

namespace {

// waitpid(2) into the record. A pid that is none never reaches the system, where it would stand for any child
// or for a group: it fails as for a process that is no child.
pid_t waitFor(process* record, int options) {
    if (record->pid < 0) {
        return -1;
    }
    pid_t gone;
    do {
        gone = ::waitpid(record->pid, &record->status, options);
    } while (gone < 0 && errno == EINTR);
    return gone;
}

const MappedDescriptor* findLabel(const process* record, const char* name) {
    const MappedDescriptor* entry = record != nullptr && name != nullptr ? record->descriptors : nullptr;
    while (entry != nullptr && std::strncmp(entry->name, name, labelBytes) != 0) {
        entry = entry->next;
    }
    return entry;
}

// Closes what the child has taken over. A descriptor that is mapped twice is closed once: by the second time
// another thread may have opened something in its place.
void closeMapped(process* record) {
    for (MappedDescriptor* entry = record->descriptors; entry != nullptr; entry = entry->next) {
        if (entry->closed) {
            continue;
        }
        int const fd = entry->from;
        ::close(fd);
        for (MappedDescriptor* same = entry; same != nullptr; same = same->next) {
            if (!same->closed && same->from == fd) {
                same->from = 0;
                same->closed = true;
            }
        }
    }
}

// Everything that a child needs, made before fork: there it must not allocate, since a lock of the allocator
// or of the environment may be held by a thread that does not exist in the child.
class Start {
public:
    explicit Start(const process* record) : mRecord(record) {
        mPath.reset(str_dup(record->path));
        mBaseName.reset(path_basename(mPath.get()));
        mArguments.reset(static_cast<char**>(memory_allocate(argumentSlots * sizeof(char*))));
        int const bundle =
            private_str_text(mPath.get()) != nullptr ? str_utf8_find(mPath.get(), ".app", 0, 0) : -1;
        if (bundle < 0) {
            mArguments.get()[0] = private_str_text(mBaseName.get());
        } else {
            useBundle(bundle);
        }
        prepareEnvironment();
    }

    // In the child.
    [[noreturn]] void run(bool daemonize, int leave_closed) const {
        environ = mEnvironment.get();
        for (const MappedDescriptor* entry = mRecord->descriptors; entry != nullptr; entry = entry->next) {
            if (!entry->closed) {
                carry(entry->from, entry->to);
            }
        }
        if (daemonize) {
            private_daemonize(private_str_text_or_empty(mBaseName.get()), leave_closed);
        }
        const char* const file = private_str_text_or_empty(mPath.get());
        private_log_forked("%d Execing %s", ::getpid(), file);
        for (char** argument = mArguments.get(); *argument != nullptr; ++argument) {
            private_log_forked("%d with argument: %s", ::getpid(), *argument);
        }
        int const result = ::execvp(file, mArguments.get());
        private_log_forked("!!!! exec failed with result: %d", result);
        ::_exit(result);
    }

private:
    // Cuts the path back to end with the match at the latest, and takes the launcher there for the file.
    void useBundle(long match) {
        str* const bundle = mPath.get();
        while (str_len(bundle) - 4 > match) {
            StrOwner const dropped(path_pop(bundle));
        }
        mProgram.reset(str_dup(bundle));
        pushText(mProgram.get(), "Contents/MacOS/QMX");
        pushText(bundle, "Contents/MacOS/qmxopen");
        mArguments.get()[0] = mLauncherName;
        mArguments.get()[1] = private_str_text(mProgram.get());
    }

    static void pushText(str* path, const char* text) {
        StrOwner const part(str_from_utf8(text));
        path_push(path, part.get());
    }

    // The environment as it is, with PROCESS_ARGUMENTS in its place or at the end, as setenv(3) puts it.
    void prepareEnvironment() {
        const char* const arguments = private_str_text_or_empty(mRecord->arguments);
        std::size_t const bytes = std::strlen(arguments) + 1;
        mVariable.reset(static_cast<char*>(memory_allocate(environmentNameBytes + bytes)));
        std::memcpy(mVariable.get(), environmentName, environmentNameBytes);
        std::memcpy(mVariable.get() + environmentNameBytes, arguments, bytes);

        std::size_t count = 0;
        while (environ != nullptr && environ[count] != nullptr) {
            ++count;
        }
        mEnvironment.reset(static_cast<char**>(memory_allocate((count + 2) * sizeof(char*))));
        char** const copy = mEnvironment.get();
        char** variable = nullptr;
        std::size_t copied = 0;
        for (; copied < count && environ[copied] != nullptr; ++copied) {
            copy[copied] = environ[copied];
            if (variable == nullptr &&
                std::strncmp(copy[copied], environmentName, environmentNameBytes) == 0) {
                variable = copy + copied;
            }
        }
        *(variable != nullptr ? variable : copy + copied) = mVariable.get();
    }

    static void carry(int from, int to) {
        if (from == to) {
            ::fcntl(from, F_SETFD, 0); // dup2 would leave it to be closed by the exec
        } else {
            ::dup2(from, to);
        }
    }

    const process* mRecord;
    StrOwner mPath; // the file to run
    StrOwner mBaseName;
    StrOwner mProgram; // what a bundle's launcher is told to run
    char mLauncherName[8] = "qmxopen";
    MemoryOwner<char*> mArguments;
    MemoryOwner<char> mVariable;
    MemoryOwner<char*> mEnvironment;
};

} // namespace

process* process_init(const str* path, const str* arguments) {
    auto* record = static_cast<process*>(memory_allocate(sizeof(process)));
    record->path = str_dup(path);
    record->arguments = str_dup(arguments);
    return record;
}

process* process_from_pid(int pid) {
    auto* record = static_cast<process*>(memory_allocate(sizeof(process)));
    record->pid = pid;
    return record;
}

void process_uninit(process* record) {
    if (record != nullptr) {
        str_uninit(record->path);
        str_uninit(record->arguments);
        process_clear_descriptor_map(record);
        memory_free(record);
    }
}

int process_pid(const process* record) { return record != nullptr ? record->pid : 0; }

int process_map_descriptor(process* record, int from, int to, int flag, const char* name) {
    if (record == nullptr) {
        return 0;
    }
    MappedDescriptor** tail = &record->descriptors;
    for (; *tail != nullptr; tail = &(*tail)->next) {
        if (!(*tail)->closed && (*tail)->from == from && (*tail)->to == to) {
            (*tail)->flag = static_cast<std::uint32_t>(flag);
            return 0;
        }
    }
    auto* entry = static_cast<MappedDescriptor*>(memory_allocate(sizeof(MappedDescriptor)));
    entry->from = from;
    entry->to = to;
    entry->flag = static_cast<std::uint32_t>(flag);
    if (name != nullptr) {
        std::memcpy(entry->name, name, ::strnlen(name, labelBytes));
    }
    *tail = entry;
    return 0;
}

void process_clear_descriptor_map(process* record) {
    while (record != nullptr && record->descriptors != nullptr) {
        MappedDescriptor* const entry = record->descriptors;
        record->descriptors = entry->next;
        memory_free(entry);
    }
}

int process_get_from_descriptor(const process* record, const char* name, int* out) {
    const MappedDescriptor* entry = findLabel(record, name);
    if (entry == nullptr) {
        return 0;
    }
    *out = entry->from;
    return 1;
}

int process_get_to_descriptor(const process* record, const char* name, int* out) {
    const MappedDescriptor* entry = findLabel(record, name);
    if (entry == nullptr) {
        return 0;
    }
    *out = entry->to;
    return 1;
}

long process_execute(process* record, int daemonize, int leave_closed) {
    if (record == nullptr) {
        return PROCESS_NO_RECORD;
    }
    Start const start(record);
    record->pid = ::fork();
    if (record->pid == 0) {
        start.run(daemonize != 0, leave_closed);
    }
    closeMapped(record);
    if (daemonize != 0) {
        waitFor(record, 0); // the child in front leaves at once and is not to stay as a zombie
        return PROCESS_RUNNING;
    }
    return waitFor(record, WNOHANG) > 0 && endedNormally(record->status) ? PROCESS_ENDED : PROCESS_RUNNING;
}

long process_wait(process* record, int options) {
    if (record == nullptr) {
        return PROCESS_NO_RECORD;
    }
    if (record->pid == 0) {
        return PROCESS_NO_PID;
    }
    bool const told = waitFor(record, options & (WNOHANG | WUNTRACED)) != 0;
    return told && endedNormally(record->status) ? PROCESS_ENDED : PROCESS_RUNNING;
}

int process_exit_code(process* record) {
    if (record == nullptr) {
        return static_cast<int>(PROCESS_NO_RECORD);
    }
    if (record->pid == 0 || waitFor(record, WNOHANG) == 0 || !endedNormally(record->status)) {
        return 0;
    }
    return (record->status >> 8) & 0xFF;
}

long process_status(const process* record) {
    if (record == nullptr) {
        return PROCESS_NO_RECORD;
    }
    if (record->pid < 0) {
        return PROCESS_NO_PROCESS;
    }
    if (::kill(record->pid, 0) == 0 || errno == EPERM) {
        return PROCESS_EXISTS;
    }
    if (errno == ESRCH) {
        return PROCESS_NO_PROCESS;
    }
    msg_debug("State unknown checking for existance of PID:%d (%s)", record->pid, std::strerror(errno));
    return PROCESS_EXISTS;
}

str* process_split_arguments(const str* s) {
    enum class State { Between, InWord, DoubleQuoted, SingleQuoted, Finished };

    str* const result = str_init();
    StrOwner const separator(str_from_utf8("\r"));
    const char* word = nullptr; // a word never has a gap: it is a piece of the text
    auto const push = [&](const char* end) {
        if (end > word) {
            StrOwner const piece(str_from(word, end - word, STR_UTF8));
            str_push(result, piece.get(), separator.get());
        }
    };

    State state = State::Between;
    const char* place = private_str_text_or_empty(s);
    for (; *place != '\0' && state != State::Finished; ++place) {
        bool const blank = *place == ' ' || *place == '\t';
        switch (state) {
        case State::Between:
            if (!blank) {
                state = *place == '"'    ? State::DoubleQuoted
                        : *place == '\'' ? State::SingleQuoted
                                         : State::InWord;
                word = state == State::InWord ? place : place + 1;
            }
            break;
        case State::InWord:
            if (blank) {
                push(place);
                state = State::Between;
            }
            break;
        case State::DoubleQuoted:
            if (*place == '"') {
                push(place);
                state = State::Between;
            }
            break;
        case State::SingleQuoted:
            if (*place == '\'') {
                push(place);
                state = State::Finished; // a dead end on purpose: hosts depend on it
            }
            break;
        case State::Finished:
            break;
        }
    }
    if (state != State::Between && state != State::Finished) {
        push(place);
    }
    return result;
}
