#include "transport.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {

using EndpointTest = TransportTest;

TEST_F(EndpointTest, CutsWhatArrivesIntoLines) {
    std::string const block(4096, 'x');
    std::string const manyFeeds(10000, '\n');
    struct {
        char const* name;
        std::vector<std::string> pieces; // each written at once, and taken in
        std::vector<std::string> lines;
    } const cases[] = {
        {"two lines in one read", {"a\nb\n"}, {"a", "b"}},
        {"an empty line first", {"\nx\n"}, {"", "x"}},
        {"a half line is a line", {"abc"}, {"abc"}},
        {"both halves of a line", {"ab", "c\nd"}, {"ab", "c", "d"}},
        {"exactly one buffer", {block}, {block}},
        {"a long line and the next one", {block + block + "yz\nnext\n"}, {block + block + "yz", "next"}},
        {"a line feed at the edge", {block.substr(1) + "\nnext"}, {block.substr(1), "next"}},
        {"bytes that are no ASCII", {"\xff\xc3\xa9z\nnext\n"}, {"???z", "next"}},
        {"a NUL drops the rest of its read", {std::string("a\0b\nc\n", 6), "next\n"}, {"a", "next"}},
        {"a NUL drops the rest of its buffer", {block.substr(1) + '\0' + "b\n"}, {block.substr(1) + "b"}},
        {"a NUL first", {std::string("\0b\n", 3), "next\n"}, {"next"}},
        {"as many lines as bytes", {manyFeeds}, std::vector<std::string>(10000)},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        Channel pipe = channel();
        long characters = 0;
        for (std::string const& piece : each.pieces) {
            pipe.writer.write(piece.data(), static_cast<long>(piece.size()));
            characters = pipe.reader.bytesAvailable();
        }
        std::vector<std::string> lines;
        while (pipe.reader.canReadLine()) {
            lines.push_back(pipe.heard());
            characters -= static_cast<long>(lines.back().size());
        }
        EXPECT_EQ(lines, each.lines);
        EXPECT_EQ(characters, 0);
    }
}

TEST_F(EndpointTest, PendingLinesStayWithTheirEndpoint) {
    Channel pipe = channel();
    pipe.tell("a\n\nb");
    EXPECT_TRUE(pipe.reader.canReadLine());
    QMXPipeReadEndpoint copy(pipe.reader);
    EXPECT_FALSE(copy.canReadLine());
    EXPECT_FALSE(copy == pipe.reader);
    pipe.reader = copy;
    EXPECT_EQ(text(pipe.reader.read()), "a\n\nb");
    EXPECT_EQ(text(pipe.reader.read()), "");
    EXPECT_TRUE(copy == pipe.reader);
}

TEST_F(EndpointTest, WritesTextUpToItsNulAndBytesAsTheyAre) {
    Channel pipe = channel();
    EXPECT_EQ(pipe.writer.write(TStr("\xc3\xa9\n")), 3);
    EXPECT_EQ(pipe.writer.write(TStr::null), 0);
    EXPECT_EQ(pipe.writer.write("a\0b", 3), 3);
    unsigned char bytes[10];
    EXPECT_EQ(pipe.reader.read(bytes, sizeof bytes), 6);
    EXPECT_EQ(memcmp(bytes, "\xc3\xa9\na\0b", 6), 0);
    EXPECT_EQ(QMXPipeWriteEndpoint().write(TStr("x")), -1);
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
    std::string const path = ::testing::TempDir() + "orbu-endpoint-" + std::to_string(getpid());
    {
        QMXPipeWriteEndpoint writer(new QMXPipeFile(path.c_str(), PipeModeWrite | PipeModeCreate, true));
        EXPECT_EQ(writer.write(TStr("4242")), 4);
        QMXPipeReadEndpoint reader(new QMXPipeFile(path.c_str(), PipeModeRead, true));
        EXPECT_EQ(text(reader.read()), "4242");
        int const descriptor = reader.device()->handle();
        reader = QMXPipeReadEndpoint();
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "the last endpoint takes an owned descriptor with it";
    }
    unlink(path.c_str());
    expectError("Error  Could not open file " + path + " : " + std::to_string(ENOENT));
    QMXPipeFile missing(path.c_str(), PipeModeRead, true);
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.handle(), -1);
    EXPECT_DEATH(QMXPipeEndpoint::fromFD(-1, PipeModeCreate), "fromFD.*\"false\".*qmxPipeEndpoint:130");
}

} // namespace
