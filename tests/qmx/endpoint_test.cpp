#include "transport.h"

#include <cerrno>
#include <deque>
#include <fcntl.h>
#include <numeric>

namespace {

// Gives its pieces, each read taking no more than one of them, and keeps what is written.
class ScriptedDevice : public QMXPipeFile {
public:
    explicit ScriptedDevice(std::deque<std::string> pieces = {})
        : QMXPipeFile(-1, 0, false), mPieces(std::move(pieces)) {}

    using QMXPipeFile::write;
    long write(void const* data, long length) override {
        mWritten.append(static_cast<char const*>(data), static_cast<size_t>(length));
        return length;
    }
    long read(void* data, long length) override {
        ++mReads;
        if (mPieces.empty()) {
            return -1;
        }
        size_t const size = mPieces.front().copy(static_cast<char*>(data), static_cast<size_t>(length));
        mPieces.front().erase(0, size);
        if (mPieces.front().empty()) {
            mPieces.pop_front();
        }
        return static_cast<long>(size);
    }

    std::deque<std::string> mPieces;
    std::string mWritten;
    int mReads = 0;
};

using EndpointTest = TransportTest;

struct LineCase {
    char const* name;
    std::deque<std::string> pieces;
    std::vector<std::string> lines;
};

TEST_F(EndpointTest, CutsWhatArrivesIntoLines) {
    std::string const block(4096, 'x');
    std::string const manyFeeds(10000, '\n');
    LineCase const cases[] = {
        {"two lines in one read", {"a\nb\n"}, {"a", "b"}},
        {"an empty line first", {"\nx\n"}, {"", "x"}},
        {"empty lines only", {"\n\n"}, {"", ""}},
        {"a half line is a line", {"abc"}, {"abc"}},
        {"both halves of a line", {"ab", "c\nd"}, {"ab", "c", "d"}},
        {"exactly one buffer", {block}, {block}},
        {"one buffer and its line feed", {block + "\n"}, {block}},
        {"a long line and the next one", {block + block + "yz\nnext\n"}, {block + block + "yz", "next"}},
        {"a line feed at the edge", {block.substr(1) + "\nnext"}, {block.substr(1), "next"}},
        {"bytes that are no ASCII", {"\xff\xc3\xa9z\nnext\n"}, {"???z", "next"}},
        {"a NUL drops the rest of its read", {std::string("a\0b\nc\n", 6), "next\n"}, {"a", "next"}},
        {"a NUL drops the rest of its buffer", {block.substr(1) + '\0' + "b\n"}, {block.substr(1) + "b"}},
        {"a NUL first", {std::string("\0b\n", 3), "next\n"}, {"next"}},
        {"as many lines as bytes", {manyFeeds}, std::vector<std::string>(10000)},
    };
    for (LineCase const& each : cases) {
        SCOPED_TRACE(each.name);
        auto* device = new ScriptedDevice(each.pieces);
        QMXPipeReadEndpoint endpoint(device);
        while (!device->mPieces.empty()) {
            endpoint.canReadLine();
        }
        EXPECT_EQ(endpoint.bytesAvailable(),
                  std::accumulate(each.lines.begin(), each.lines.end(), 0L,
                                  [](long sum, std::string const& line) { return sum + (long)line.size(); }));
        std::vector<std::string> lines;
        while (endpoint.canReadLine()) {
            lines.push_back(text(endpoint.readLine()));
        }
        EXPECT_EQ(lines, each.lines);
        EXPECT_EQ(endpoint.bytesAvailable(), 0);
        EXPECT_TRUE(endpoint.readLine().isEmpty());
    }
}

TEST_F(EndpointTest, AsksTheDeviceOnceWhenThereIsNothing) {
    auto* device = new ScriptedDevice;
    QMXPipeReadEndpoint endpoint(device);
    EXPECT_FALSE(endpoint.canReadLine());
    EXPECT_EQ(device->mReads, 1);
    device->mPieces = {std::string(4096, 'x')};
    EXPECT_TRUE(endpoint.canReadLine());
    EXPECT_EQ(device->mReads, 3) << "a full buffer asks once more";
}

TEST_F(EndpointTest, PendingLinesStayWithTheirEndpoint) {
    auto* device = new ScriptedDevice({"a\n\nb\n"});
    QMXPipeReadEndpoint endpoint(device);
    EXPECT_TRUE(endpoint.canReadLine());
    QMXPipeReadEndpoint copy(endpoint);
    QMXPipeReadEndpoint assigned;
    assigned = endpoint;
    EXPECT_EQ(copy.device(), device);
    EXPECT_FALSE(copy.canReadLine());
    EXPECT_FALSE(assigned.canReadLine());
    EXPECT_TRUE(copy == assigned);
    EXPECT_FALSE(copy == endpoint);
    endpoint = assigned;
    EXPECT_EQ(text(endpoint.read()), "a\n\nb");
    EXPECT_EQ(text(endpoint.read()), "");
    EXPECT_TRUE(copy == endpoint);
}

TEST_F(EndpointTest, WritesTextUpToItsNulAndBytesAsTheyAre) {
    auto* device = new ScriptedDevice;
    QMXPipeWriteEndpoint endpoint(device);
    EXPECT_EQ(endpoint.write(TStr("\xc3\xa9\n")), 3);
    EXPECT_EQ(endpoint.write(TStr::null), 0);
    EXPECT_EQ(endpoint.write("a\0b", 3), 3);
    EXPECT_EQ(device->mWritten, std::string("\xc3\xa9\na\0b", 6));
    EXPECT_EQ(QMXPipeWriteEndpoint().write(TStr("x")), -1);
}

TEST_F(EndpointTest, MapsModes) {
    EXPECT_EQ(QMXPipeIODevice::openFlagsOf(17), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(QMXPipeIODevice::openFlagsOf(6), O_WRONLY | O_APPEND);
    EXPECT_EQ(QMXPipeIODevice::openFlagsOf(10), O_WRONLY | O_CREAT);
    EXPECT_EQ(QMXPipeEndpoint::fromFD(-1, 17).mode(), QMXPipeEndpoint::EndpointRead);
    EXPECT_EQ(QMXPipeEndpoint::fromFD(-1, 6).mode(), QMXPipeEndpoint::EndpointWrite);
    EXPECT_DEATH(QMXPipeEndpoint::fromFD(-1, PipeModeCreate), "fromFD.*\"false\".*qmxPipeEndpoint:130");
}

TEST_F(EndpointTest, ClosedDeviceIsOpenAndLeavesDescriptorZeroAlone) {
    Channel pipe = channel();
    QMXPipeIODevice& device = *pipe.reader.device();
    int const descriptor = device.handle();
    EXPECT_NE(fcntl(descriptor, F_GETFL) & O_NONBLOCK, 0);
    QMXPipeFile copy(static_cast<QMXPipeFile&>(device));
    pipe.tell("never read");
    for (int times = 0; times < 2; ++times) {
        device.close();
        EXPECT_TRUE(device.isOpen());
        EXPECT_EQ(device.handle(), 0);
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
        EXPECT_NE(fcntl(0, F_GETFD), -1);
    }
    char byte = 'x';
    EXPECT_EQ(device.write(&byte, 1), -1);
    EXPECT_EQ(device.read(&byte, 1), -1);
    EXPECT_EQ(pipe.heard(), "");
    EXPECT_EQ(copy.handle(), descriptor);
}

TEST_F(EndpointTest, FilesOpenByPathAndReportFailure) {
    std::string const path = mDirectory + "/file";
    {
        QMXPipeWriteEndpoint writer(new QMXPipeFile(path.c_str(), PipeModeWrite | PipeModeCreate, true));
        EXPECT_EQ(writer.write(TStr("4242")), 4);
        QMXPipeReadEndpoint reader(new QMXPipeFile(path.c_str(), PipeModeRead, true));
        EXPECT_EQ(text(reader.read()), "4242");
        int const descriptor = reader.device()->handle();
        reader = QMXPipeReadEndpoint();
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "the last endpoint takes an owned descriptor with it";
    }
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0117, 0u);
    unlink(path.c_str());

    expectError("Error  Could not open file " + path + " : " + std::to_string(ENOENT));
    QMXPipeFile missing(path.c_str(), PipeModeRead, true);
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.handle(), -1);
    missing.close();
    EXPECT_EQ(missing.handle(), -1);
}

} // namespace
