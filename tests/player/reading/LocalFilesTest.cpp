#include "player/reading/SourceFile.h"

#include "tests/player/Files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Zelvan::play::test {
namespace {

/// A scene in "in/", which has links to what is inside and outside, pipes that nobody writes into, and a socket.
struct Links {
    Links()
    {
        for (char const* const file :
             {"in/main.x3d", "in/parts/a.x3d", "in/sc/s.x3d", "in/deep/sc/s.x3d", "in/deep/er/t.x3d", "in/%61", "secret.x3d"})
            folder.add(file, file);
        std::filesystem::create_directory(folder.path("elsewhere"));
        auto const link = [&](std::string const& to, char const* from) {
            std::filesystem::create_symlink(to, folder.path(from));
        };
        link("../elsewhere", "in/sub");
        link("deep/er", "in/link");
        link(folder.path("in/parts/a.x3d"), "in/a");
        link("a", "in/twice");
        link("../secret.x3d", "in/out.x3d");
        link("loop", "in/loop");
        link("main.x3d", "in/c0");
        for (int i = 1; i <= 40; ++i)
            link("c" + std::to_string(i - 1), ("in/c" + std::to_string(i)).c_str());
        link("pipe", "in/to-pipe");
        ::mkfifo(folder.path("in/pipe").c_str(), 0600);
        ::mkfifo(folder.path("x.x3d").c_str(), 0600);
        ::mknod(folder.path("in/sock").c_str(), S_IFSOCK | 0600, 0);
    }
    Folder folder;
};

TEST(LocalFiles, OpenWhatIsInTheFolderWhateverLeadsThere)
{
    Links const links;
    std::string const outside = "lies outside the scene's folder", noFile = "is not a file",
                      none = "cannot open: No such file or directory";
    struct Case {
        std::string url;
        std::string found; ///< what the file holds, which is its path; or part of the message
    };
    Case const cases[] = {
        {"parts/a.x3d", "in/parts/a.x3d"},
        {"./parts/..//parts/./a.x3d", "in/parts/a.x3d"},
        {"file://parts/a.x3d", "in/parts/a.x3d"},
        {"file:parts/a.x3d", "in/parts/a.x3d"},
        {links.folder.path("in/parts/a.x3d"), "in/parts/a.x3d"},
        {"../in/parts/a.x3d", "in/parts/a.x3d"},
        {"link/t.x3d", "in/deep/er/t.x3d"},
        {"link/../sc/s.x3d", "in/deep/sc/s.x3d"},
        {"a", "in/parts/a.x3d"},
        {"twice", "in/parts/a.x3d"},
        {"parts/%61.x3d", "in/parts/a.x3d"},
        {"%61", "in/%61"},
        {"sc/s.x3d", "in/sc/s.x3d"},
        {"main.x3d%00", none},
        {"%6gx", "%6gx: cannot open"},
        {"-", none},
        {"./-", none},
        {"none/../main.x3d", none},
        {"main.x3d/a", "cannot open: Not a directory"},
        {"loop", "cannot open: Too many levels"},
        {"c39", "in/main.x3d"},
        {"c40", "cannot open: Too many levels"},
        {"sub/../x.x3d", outside},
        {"sub/../secret.x3d", outside},
        {"sub/../none", outside},
        {"../none/none", outside},
        {"out.x3d", outside},
        {"..", outside},
        {"/", outside},
        {"/dev/zero", outside},
        {".", noFile},
        {"parts", noFile},
        {"parts/", noFile},
        {"pipe", noFile},
        {"to-pipe", noFile},
        {"sock", noFile},
        {"c:x", "c:x: cannot open"}, // of one letter: a drive
        {"ab:x", "is not a local file"},
        {"az09+.-AZ:x", "is not a local file"},
        {std::string(1000, 'a'), "cannot open: File name too long"},
        {std::string(1001, 'a'), "is longer than a file's name"},
        {times(64, "./") + "main.x3d", "in/main.x3d"},
        {times(65, "./") + "main.x3d", "is longer than a file's name"},
    };
    LocalFiles files;
    OpenedFile const scene = files.openScene(links.folder.path("in/main.x3d"), "");
    for (Case const& c : cases)
        try {
            OpenedFile const opened = files.open(c.url, scene.folder);
            char text[99] = {};
            EXPECT_GT(::read(opened.descriptor.number(), text, sizeof text - 1), 0);
            EXPECT_EQ(text, c.found) << c.url;
            struct stat named;
            EXPECT_EQ(::stat(opened.name.c_str(), &named), 0) << opened.name;
            EXPECT_EQ(named.st_ino, opened.identity.number) << opened.name << " is what messages call it";
        } catch (Failure const& failure) {
            EXPECT_THAT(failure.what(), testing::HasSubstr(c.found)) << c.url;
        }
}

TEST(LocalFiles, ComeFromAWiderFolderThatIsNamed)
{
    Links const links;
    LocalFiles files;
    OpenedFile const scene = files.openScene(links.folder.path("in/main.x3d"), links.folder.path(""));
    EXPECT_NE(files.open("../secret.x3d", scene.folder).descriptor.number(), -1);
    EXPECT_NE(files.open("out.x3d", scene.folder).descriptor.number(), -1);
    EXPECT_THROW(files.open("../../none", scene.folder), Failure);
    EXPECT_THROW(files.openScene(links.folder.path("secret.x3d"), links.folder.path("in")), Failure);
    EXPECT_THROW(files.openScene(links.folder.path("in/main.x3d"), links.folder.path("none")), Failure);
}

TEST(LocalFiles, MayBeAnythingOnTheCommandLineUpToTheLimit)
{
    LocalFiles files;
    OpenedFile const zeros = files.openScene("/dev/zero", "");
    ReadLimits limits;
    limits.bytes = 1 << 20;
    EXPECT_THAT([&] { SourceFile(zeros, limits); },
                testing::ThrowsMessage<Failure>("/dev/zero: larger than 1048576 bytes (--max-bytes raises the limit)"));
}

// How long a file was when it was opened says nothing.
TEST(LocalFiles, MayGrowAfterTheyAreOpenedUpToTheLimit)
{
    Folder const folder;
    ReadLimits limits;
    limits.bytes = 1 << 16;
    std::string const path = folder.path("growing.x3d"), begin = "<X3D><Scene/></X3D>";
    for (std::size_t const size : {limits.bytes, limits.bytes + 1}) {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file << begin << std::flush;
        LocalFiles files;
        OpenedFile const opened = files.openScene(path, "");
        file << std::string(size - begin.size(), ' ') << std::flush;
        if (size <= limits.bytes)
            EXPECT_EQ(SourceFile(opened, limits).text().size(), size);
        else
            EXPECT_THAT([&] { SourceFile(opened, limits); },
                        testing::ThrowsMessage<Failure>(
                            testing::EndsWith("growing.x3d: larger than 65536 bytes (--max-bytes raises the limit)")));
    }
}

} // namespace
} // namespace Zelvan::play::test
