#include "platformSupport.h"

#include "orbuutil/c_path.h"
#include "orbuutil/ownersPrivate.h"
#include "orbuutil/tpath.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

using PathFiles = PlaceTest;

// A null text reads as "(null)". Leaves the view of `s` alone.
std::string text(TStr const& s) { return s.isNull() ? "(null)" : TStr(s).toUtf8(); }
std::string textOf(str* adopted) { return text(TStr(adopted)); }

TEST(Path, TakesApart) {
    struct {
        const char *path, *base, *directory, *extension, *popped;
    } const rows[] = {
        {"/a/b.c", "b.c", "/a", "c", "b.c"},
        {"a", "a", "(null)", "a", "a"},
        {"/a", "/a", "(null)", "/a", "/a"},     // a separator at the very start does not count
        {".rc", ".rc", "(null)", ".rc", ".rc"}, // nor does a dot
        {"/a.d/b", "b", "/a.d", "d/b", "b"},    // a dot of the directory counts without one in the name
        {"/a/b/", "", "/a/b", "/a/b/", ""},
        {"a\\b.c", "b.c", "a", "c", "a\\b.c"}, // path_pop alone does not localise
        {"", "", "(null)", "", ""},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_EQ(textOf(path_basename(TPath(row.path).handle())), row.base);
        EXPECT_EQ(textOf(path_dirname(TPath(row.path).handle())), row.directory);
        EXPECT_EQ(textOf(path_ext(TPath(row.path).handle())), row.extension);
        EXPECT_EQ(textOf(path_pop(TPath(row.path).handle())), row.popped);
    }
    TPath path("a/b/c");
    EXPECT_EQ(text(path.shift()), "a");
    EXPECT_EQ(text(path.pop()), "c");
    EXPECT_TRUE(path == "b" && path.cdUp() && path.isNull());
    EXPECT_TRUE(path.pop().isNull() && path.cdUp());
}

TEST(Path, Joins) {
    struct {
        const char *path, *part, *pushed, *unshifted;
    } const rows[] = {
        {"a", "b", "a/b", "b/a"},   {"a", "/b", "a/b", "/b/a"},
        {"a/", "b", "a/b", "b/a/"}, {"a/b/", "c", "a/b//c", "c/a/b/"},
        {"a", "", "a", "a"},        {nullptr, "b", "b", "b"},
        {"/", "b", "/b", "b/"},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.part);
        EXPECT_EQ(text(TPath(row.path).push(row.part)), row.pushed);
        EXPECT_EQ(text(TPath(row.path).unshift(row.part)), row.unshifted);
    }
    TPath const folder("/f");
    EXPECT_EQ(text(folder + "a" + TStr("b") + TPath("c")), "/f/a/b/c");
    EXPECT_EQ(text(folder), "/f");
    TPath adopted(static_cast<void*>(nullptr)); // no object to put text in, until it is needed
    TPath copy(adopted);
    EXPECT_EQ(text(adopted += "x"), "x");
    copy.setFile("y/z");
    EXPECT_EQ(text(copy), "y/z");
    EXPECT_EQ(text(copy.push(copy)), "y/z/y/z");
    EXPECT_FALSE(TPath().exists() || TPath(static_cast<void*>(nullptr)).isFile());
}

TEST(Path, KeepsTheViewInPlace) {
    TPath path("/a");
    const char* const view = path.toUtf8();
    path.push("b");
    EXPECT_EQ(path.toUtf8(), view);
    EXPECT_STREQ(view, "/a");
    path.clearCachedEncoding();
    EXPECT_STREQ(path.toUtf8(), "/a/b");
    path = "/c";
    EXPECT_STREQ(path.toUtf8(), "/c");
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

TEST(Path, SharesThePrivateBlock) {
    TPath path("x");
    path.initPrivate();
    TPath copy(path);
    copy = path + "y";
    path = TPath("z");
    EXPECT_EQ(text(copy), "x/y");
}

TEST_F(PathFiles, ResultSenses) {
    TPath file(make("f", "12345").c_str());
    TPath folder(in("d").c_str());
    TPath const missing(in("m/n").c_str());

    EXPECT_TRUE(folder.mkdir(0x10000 | 0700));
    EXPECT_FALSE(folder.mkdir(0700));
    EXPECT_TRUE(folder.isDir() && !folder.isFile() && file.isFile() && !file.isDir());
    EXPECT_EQ(file.size(), 5);
    EXPECT_EQ(path_permissions(folder.handle()) & 0170000, S_IFDIR);
    EXPECT_EQ(path_permissions(TPath(missing).handle()), 0);
    EXPECT_EQ(path_permissions(TPath(std::string(3000, 'x').c_str()).handle()), 0);

    EXPECT_TRUE(file.isReadable() && file.isWritable() && !missing.isReadable());
    EXPECT_TRUE(TPath(in("new").c_str()).isWritable()); // may be created
    EXPECT_FALSE(missing.isWritable() || TPath("new").isWritable());

    EXPECT_EQ(path_chmod(file.handle(), 0600), 0);
    EXPECT_EQ(path_permissions(file.handle()) & 07777, 0600);
    EXPECT_EQ(path_chmod(TPath(missing).handle(), 0600), 0); // taken as done
    EXPECT_EQ(path_fopen(TPath("").handle(), "r"), nullptr);
    EXPECT_EQ(path_chdir(TPath().handle()), 0);
    EXPECT_EQ(path_chdir(TPath(missing).handle()), 0);

    EXPECT_EQ(file.remove(), 0);
    EXPECT_EQ(file.remove(), -1);
    EXPECT_EQ(path_rmdir(folder.handle()), 0);
    EXPECT_EQ(path_rmdir(folder.handle()), -1);
}

TEST_F(PathFiles, LocalisesInPlace) {
    make("d/f", "x");
    std::string const written = mPlace + "\\d\\f";
    TPath path(written.c_str());
    EXPECT_TRUE(path.exists()); // on a copy
    EXPECT_EQ(text(path), written);
    EXPECT_FALSE(path.isReadable()); // takes it as it is
    EXPECT_TRUE(path.isFile());
    EXPECT_EQ(text(path), in("d/f"));
}

TEST_F(PathFiles, AsciiPermissions) {
    TPath name((make("\xC3\xA9", "x")).c_str());
    EXPECT_TRUE(name.isFile());
    EXPECT_EQ(path_permissions(name.handle()), 0);
    make("?", "x");
    EXPECT_NE(path_permissions(name.handle()), 0);
}

TEST_F(PathFiles, MakesChains) {
    TPath deep(in("a/b/c").c_str());
    EXPECT_TRUE(deep.mkpath(0700));
    EXPECT_TRUE(std::filesystem::is_directory(in("a/b/c")));
    EXPECT_TRUE(deep.mkpath(0700));
    make("file", "");
    EXPECT_FALSE(TPath(in("file/x/y").c_str()).mkpath(0700));
    EXPECT_FALSE(TPath().mkpath(0700));
}

// Told once in a process, so each case has one of its own.
TEST_F(PathFiles, ApplicationPath) {
    make("program", "");
    std::filesystem::current_path(mPlace);
    struct {
        const char* argv0;
        std::string folder;
    } const rows[] = {
        {nullptr, std::filesystem::path(mPlace).parent_path()},
        {"program", mPlace},
        {"missing", mPlace},
        {"/bin/sh", "/bin"},
        {"/missing/x", mPlace},
    };
    for (auto const& row : rows) {
        auto const told = [&] {
            TPath const first = TPath::appPath(row.argv0);
            std::filesystem::current_path("/");
            bool const fixed = TPath::appPath("/etc/passwd") == first;
            ::_exit(fixed && text(first) == row.folder ? 0 : 1);
        };
        EXPECT_EXIT(told(), ::testing::ExitedWithCode(0), "") << row.folder;
    }
}

} // namespace
