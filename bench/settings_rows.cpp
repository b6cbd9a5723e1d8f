#include "rows.h"

#include "orbuutil/orbuMutex.h"
#include "orbuutil/orbuSettings.h"

#include <benchmark/benchmark.h>
#include <tinyxml2.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

constexpr int kSections = 10;
constexpr int kKeys = 10; // in each

// A store of 100 keys in a folder of its own, in memory: how a disk takes a file that is cut and written
// again is not what is compared here.
class Store {
public:
    Store() {
        const bool inMemory = access("/dev/shm", W_OK) == 0;
        std::string folder = inMemory ? "/dev/shm/orbu-bench-XXXXXX" : "/tmp/orbu-bench-XXXXXX";
        folder_ = mkdtemp(folder.data()) != nullptr ? folder : ".";
        file = folder_ + "/settings.xml";
        OrbuSettings store(false);
        store.open(file.c_str(), false);
        for (int i = 0; i < kSections * kKeys; ++i) {
            store.setData(("section" + std::to_string(i / kKeys)).c_str(),
                          ("key" + std::to_string(i % kKeys)).c_str(),
                          ("a value of key " + std::to_string(i)).c_str());
        }
        store.save(file.c_str());
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() {
        unlink(file.c_str());
        rmdir(folder_.c_str());
    }

    std::string file;

private:
    std::string folder_;
};

bool load(tinyxml2::XMLDocument& document, const std::string& file) {
    std::FILE* const stream = std::fopen(file.c_str(), "rb");
    const bool loaded = stream != nullptr && document.LoadFile(stream) == tinyxml2::XML_SUCCESS;
    if (stream != nullptr) {
        std::fclose(stream);
    }
    return loaded;
}

tinyxml2::XMLElement* find(tinyxml2::XMLElement* parent, const char* attribute, const char* value) {
    tinyxml2::XMLElement* child = parent->FirstChildElement();
    while (child != nullptr && child->Attribute(attribute, value) == nullptr) {
        child = child->NextSiblingElement();
    }
    return child;
}

// What the store does, by hand: read, read anew, set, write; where asked for, with the locks that it takes.
bool byHand(const std::string& file, const char* value, int readings, bool locked) {
    const TStr name(locked ? OrbuSettings::formatMutexName(file.c_str()) : TStr());
    tinyxml2::XMLDocument document;
    for (int reading = 0; reading < readings; ++reading) {
        OrbuMutex mutex;
        if (locked && !(mutex.Open(name) && mutex.Lock(-1))) {
            return false;
        }
        if (!load(document, file)) {
            return false;
        }
    }
    OrbuMutex mutex;
    if (locked && !(mutex.Open(name) && mutex.Lock(-1))) {
        return false;
    }
    tinyxml2::XMLElement* const section =
        find(document.FirstChildElement("OrbuSettings"), "Name", "section5");
    find(section, "Key", "key5")->SetText(value);
    std::FILE* const stream = std::fopen(file.c_str(), "wb");
    const bool saved = stream != nullptr && document.SaveFile(stream, false) == tinyxml2::XML_SUCCESS;
    if (stream != nullptr) {
        std::fclose(stream);
    }
    return saved;
}

void handRow(const char* name, int readings, bool locked) {
    benchmark::RegisterBenchmark(name, [readings, locked](benchmark::State& state) {
        const Store store;
        int round = 0;
        for (auto _ : state) {
            if (!byHand(store.file, (++round % 2) != 0 ? "one" : "two", readings, locked)) {
                state.SkipWithError("the file could not be read or written");
            }
        }
    })->UseRealTime();
}

} // namespace

void registerSettingsRows() {
    benchmark::RegisterBenchmark("settings100/ours", [](benchmark::State& state) {
        const Store store;
        int round = 0;
        for (auto _ : state) {
            OrbuSettings settings(false);
            if (!settings.open(store.file.c_str(), false)) {
                state.SkipWithError("the file could not be read");
            }
            settings.setData("section5", "key5", (++round % 2) != 0 ? "one" : "two");
            settings.save(store.file.c_str());
        }
    })->UseRealTime();
    handRow("settings100/tinyxml2", 2, false);
    handRow("settings100/tinyxml2-once", 1, false);
    handRow("settings100/tinyxml2-locked", 2, true);
}
