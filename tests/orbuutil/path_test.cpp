#include "platformSupport.h"

#include "orbuutil/c_path.h"
#include "orbuutil/tpath.h"
#include "support/texts.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

using support::text;
using PathFiles = PlaceTest;

std::string textOf(str* adopted) { return text(TStr(adopted)); }

TEST(Path, TakesApart) {
    char const* const rows[][5] = {
        {"/a/b.c", "b.c", "/a", "c", "b.c"},
        {"/a", "/a", "<null>", "/a", "/a"},     // a separator at the very start does not count
        {".rc", ".rc", "<null>", ".rc", ".rc"}, // nor does a dot
        {"/a.d/b/", "", "/a.d/b", "d/b/", ""},  // a dot of a directory does without one in the name
        {"a\\b.c", "b.c", "a", "c", "a\\b.c"}}; // path_pop alone does not localise
    for (auto const& [whole, base, directory, extension, popped] : rows) {
        SCOPED_TRACE(whole);
        EXPECT_EQ(textOf(path_basename(TPath(whole).handle())), base);
        EXPECT_EQ(textOf(path_dirname(TPath(whole).handle())), directory);
        EXPECT_EQ(textOf(path_ext(TPath(whole).handle())), extension);
        EXPECT_EQ(textOf(path_pop(TPath(whole).handle())), popped);
    }
    TPath path("a/b/c");
    EXPECT_TRUE(path.shift() == "a" && path.pop() == "c" && path == "b");
    EXPECT_TRUE(path.cdUp() && path.isNull() && path.pop().isNull() && path.cdUp());
}

TEST(Path, Joins) {
    EXPECT_EQ(text(TPath("a/").push("/b").unshift("c")), "c/a/b");
    EXPECT_EQ(text(TPath().push("b").push("")), "b"); // a null path just takes it
    TPath path("/f");
    path.initPrivate(); // shared by the copies below
    EXPECT_EQ(text(path + "a" + TStr("b") + TPath("c")), "/f/a/b/c");
    TPath adopted(static_cast<void*>(nullptr)); // no object to put text in, until it is needed
    TPath copy(adopted);
    EXPECT_FALSE(adopted.exists() || adopted.isFile());
    EXPECT_EQ(text(adopted += "x"), "x");
    copy.setFile("y/z");
    const char* const view = copy.toUtf8(); // stays as it is
    EXPECT_EQ(text(TStr(copy.push(copy))), "y/z/y/z");
    EXPECT_TRUE(copy.toUtf8() == view && std::string(view) == "y/z");
}

TEST_F(PathFiles, MakesAbsolute) {
    std::filesystem::current_path(mPlace);
    std::string const here = std::filesystem::current_path();
    EXPECT_EQ(text(TPath("x/y").absFilePath()), here + "/x/y");
    EXPECT_EQ(text(TPath("").absPath()), here);
    EXPECT_EQ(text(TPath("/x").absFilePath("y")), "/x/y");
    EXPECT_EQ(text(TPath("x").dirPath(true)), here);
    EXPECT_TRUE(TPath("x").dirPath(false).isNull());
}

TEST_F(PathFiles, ResultSenses) {
    TPath file(make("f", "12345").c_str());
    TPath folder(in("d").c_str());
    TPath const missing(in("m/n").c_str());

    EXPECT_TRUE(folder.mkdir(0x10000 | 0700));
    EXPECT_FALSE(folder.mkdir(0700));
    EXPECT_TRUE(folder.isDir() && !folder.isFile() && file.isFile() && !file.isDir());
    EXPECT_EQ(file.size(), 5);
    EXPECT_TRUE(file.isReadable() && file.isWritable() && !missing.isReadable());
    EXPECT_TRUE(TPath(in("new").c_str()).isWritable()); // may be created
    EXPECT_FALSE(missing.isWritable() || TPath("new").isWritable());

    EXPECT_EQ(path_chmod(file.handle(), 0600), 0);
    EXPECT_EQ(path_permissions(file.handle()), S_IFREG | 0600);
    for (auto const& name : {in("m"), make("\xC3\xA9"), std::string(3000, 'x')}) { // looked for as ASCII
        EXPECT_EQ(path_permissions(TPath(name.c_str()).handle()), 0);
    }
    EXPECT_EQ(path_chmod(TPath(missing).handle(), 0600), 0); // taken as done
    EXPECT_EQ(path_fopen(TPath("").handle(), "r"), nullptr);
    EXPECT_TRUE(path_chdir(TPath().handle()) == 0 && path_chdir(TPath(missing).handle()) == 0);

    EXPECT_TRUE(file.remove() == 0 && file.remove() == -1);
    EXPECT_TRUE(path_rmdir(folder.handle()) == 0 && path_rmdir(folder.handle()) == -1);

    TPath deep(in("a/b/c").c_str());
    EXPECT_TRUE(deep.mkpath(0700) && deep.isDir() && deep.mkpath(0700));
    std::string endless = in("a");
    for (int level = 0; level < 200'000; ++level) {
        endless += "/b";
    }
    EXPECT_FALSE(TPath((make("g") + "/x/y").c_str()).mkpath(0700) || TPath().mkpath(0700) ||
                 TPath(endless.c_str()).mkpath(0700));
}

TEST_F(PathFiles, LocalisesInPlace) {
    make("d/f");
    std::string const written = mPlace + "\\d\\f";
    TPath path(written.c_str());
    EXPECT_TRUE(path.exists() && !path.isReadable() && text(TStr(path)) == written); // a copy; as it is
    EXPECT_TRUE(path.isFile() && text(TStr(path)) == in("d/f"));
}

// Told once in a process, so each case has one of its own.
TEST_F(PathFiles, ApplicationPath) {
    make("program");
    std::filesystem::current_path(mPlace);
    std::pair<const char*, std::string> const rows[] = {
        {nullptr, std::filesystem::path(mPlace).parent_path()},
        {"program", mPlace},
        {"missing", mPlace},
        {"/bin/sh", "/bin"}};
    for (auto const& row : rows) {
        auto const tell = [&] {
            TPath const first = TPath::appPath(row.first);
            std::filesystem::current_path("/");
            ::_exit(TPath::appPath("/etc/passwd") == first && text(first) == row.second ? 0 : 1);
        };
        EXPECT_EXIT(tell(), ::testing::ExitedWithCode(0), "") << row.second;
    }
}

} // namespace
