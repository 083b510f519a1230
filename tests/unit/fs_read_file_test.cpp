// Reading a whole file through the file-system layer: regular files, the
// size limit, directories, devices and FIFOs, and the injected failures.
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/fs.h"
#include "support/temp_root.h"

namespace {

namespace fs = viewgeo::platform::fs;
using viewgeo::testing::TempRoot;

constexpr const char *kPath = "/etc/viewgeo/data";

// The errno of a read of `logical` that fails; 0 when it succeeds, -1 when
// it fails without saying why.
int failure_of(const char *logical, std::size_t limit) {
    std::string text;
    errno = 0;
    if (fs::read_file(logical, limit, text) == 0) return 0;
    return errno != 0 ? errno : -1;
}

// Writes `content` as the test file and reads it back into a buffer that
// held `before`; the read must succeed.
std::string write_and_read(const std::string &content, std::size_t limit, const std::string &before = "") {
    TempRoot root;
    root.write(kPath, content);
    std::string text = before;
    EXPECT_EQ(fs::read_file(kPath, limit, text), 0);
    return text;
}

TEST(FsReadFile, ReadsEveryByteOfARegularFile) {
    const std::string content("[g]\r\nk=v\0tail\n\xEF\xBB\xBF", 18);
    EXPECT_EQ(write_and_read(content, 1024), content);
}

TEST(FsReadFile, ReplacesWhatTheBufferHeld) { EXPECT_EQ(write_and_read("short", 1024, std::string(5000, 'x')), "short"); }

TEST(FsReadFile, EmptyFileGivesEmptyText) { EXPECT_EQ(write_and_read("", 1024, "old"), ""); }

TEST(FsReadFile, FileOfExactlyTheLimitIsRead) {
    const std::string content(4096, 'a');
    EXPECT_EQ(write_and_read(content, 4096), content);
}

TEST(FsReadFile, FileOneByteOverTheLimitFailsWithEfbig) {
    TempRoot root;
    root.write(kPath, std::string(4097, 'a'));
    EXPECT_EQ(failure_of(kPath, 4096), EFBIG);
}

TEST(FsReadFile, LargeFileIsReadWhole) {
    std::string content;
    for (int i = 0; content.size() < 300000; ++i) content += std::to_string(i) + "\n";
    EXPECT_EQ(write_and_read(content, 1024 * 1024), content);
}

TEST(FsReadFile, MissingFileFailsWithEnoent) {
    TempRoot root;
    EXPECT_EQ(failure_of(kPath, 1024), ENOENT);
}

TEST(FsReadFile, DirectoryFailsWithEisdir) {
    TempRoot root;
    root.make_dir(kPath);
    EXPECT_EQ(failure_of(kPath, 1024), EISDIR);
}

TEST(FsReadFile, PathIsResolvedBelowTheTestRoot) {
    TempRoot root;
    root.write("/var/run/ptz/mo_data_file", "below the root");
    std::string text;
    ASSERT_EQ(fs::read_file("/var/run/ptz/mo_data_file", 1024, text), 0);
    EXPECT_EQ(text, "below the root");
}

TEST(FsReadFile, InjectedFailureFailsOneCallWithItsErrno) {
    TempRoot root;
    root.write(kPath, "k=v\n");
    fs::inject_failure(fs::Op::ReadFile, EIO, 1);
    EXPECT_EQ(failure_of(kPath, 1024), 0);  // skipped
    EXPECT_EQ(failure_of(kPath, 1024), EIO);
    std::string text;
    EXPECT_EQ(fs::read_file(kPath, 1024, text), 0);  // once only
    EXPECT_EQ(text, "k=v\n");
}

TEST(FsReadFile, CountsAsOneCallOfTheLayer) {
    TempRoot root;
    root.write(kPath, "k=v\n");
    std::string text;
    fs::kill_at_call(0);
    ASSERT_EQ(fs::read_file(kPath, 1024, text), 0);
    EXPECT_EQ(fs::calls_made(), 1);
    EXPECT_EQ(fs::read_file("/etc/viewgeo/missing", 1024, text), -1);
    EXPECT_EQ(fs::calls_made(), 2);
}

// ---- Files that are not regular ----------------------------------------------

TEST(FsReadFile, CharacterDeviceWithNothingToReadGivesEmptyText) {
    TempRoot root;
    std::filesystem::create_symlink("/dev/null", root.real(kPath));
    std::string text = "old";
    ASSERT_EQ(fs::read_file(kPath, 1024, text), 0);
    EXPECT_EQ(text, "");
}

TEST(FsReadFile, EndlessDeviceFailsAtTheLimit) {
    TempRoot root;
    std::filesystem::create_symlink("/dev/zero", root.real(kPath));
    EXPECT_EQ(failure_of(kPath, 10000), EFBIG);
}

// Files of /proc state a size of 0 yet have content: the size is only a hint.
// (Not a file of /proc/self: tools such as valgrind show the program a
// substitute for some of those when opened by name, not through a link.)
TEST(FsReadFile, RegularFileLongerThanItsStatedSizeIsReadToTheEnd) {
    const char *const proc_file = "/proc/sys/kernel/ostype";
    struct stat st;
    if (::stat(proc_file, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size != 0) {
        GTEST_SKIP() << "no /proc file that states a size of 0";
    }
    std::ostringstream expected;
    expected << std::ifstream(proc_file, std::ios::binary).rdbuf();
    ASSERT_FALSE(expected.str().empty());
    TempRoot root;
    std::filesystem::create_symlink(proc_file, root.real(kPath));
    std::string text;
    ASSERT_EQ(fs::read_file(kPath, 1024 * 1024, text), 0);
    EXPECT_EQ(text, expected.str());
}

// Writes `pieces` into the FIFO at `real`, one write each, then closes it.
// A reader gone early makes a write fail rather than kill the test.
std::thread fifo_writer(const std::string &real, std::vector<std::string> pieces) {
    return std::thread([real, pieces = std::move(pieces)] {
        sigset_t pipe_signal;
        sigemptyset(&pipe_signal);
        sigaddset(&pipe_signal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe_signal, nullptr);
        const int fd = ::open(real.c_str(), O_WRONLY | O_CLOEXEC);  // waits for the reader
        if (fd < 0) return;
        for (const std::string &piece : pieces) {
            if (::write(fd, piece.data(), piece.size()) != static_cast<ssize_t>(piece.size())) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ::close(fd);
    });
}

TEST(FsReadFile, FifoIsReadUntilItsWriterCloses) {
    TempRoot root;
    ASSERT_EQ(::mkfifo(root.real(kPath).c_str(), 0600), 0);
    const std::vector<std::string> pieces = {"[g]\n", "k=v\n", std::string(6000, '#') + "\n", "last=1\n"};
    std::thread writer = fifo_writer(root.real(kPath), pieces);
    std::string text;
    const int rc = fs::read_file(kPath, 1024 * 1024, text);
    writer.join();
    ASSERT_EQ(rc, 0);
    EXPECT_EQ(text, pieces[0] + pieces[1] + pieces[2] + pieces[3]);
}

TEST(FsReadFile, FifoOverTheLimitFails) {
    TempRoot root;
    ASSERT_EQ(::mkfifo(root.real(kPath).c_str(), 0600), 0);
    std::thread writer = fifo_writer(root.real(kPath), {std::string(100, 'a'), std::string(1, 'b')});
    const int err = failure_of(kPath, 100);
    writer.join();
    EXPECT_EQ(err, EFBIG);
}

}  // namespace
