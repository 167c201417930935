// What the file layer refuses: files above the whole-read limit (plain and inside archives),
// archive members that read short or do not match their checksum, and how a mount that
// fails says why.
#include <gtest/gtest.h>
#include <physfs.h>

#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <random>
#include <string>
#include <unordered_map>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "cfo_reference.h"
#include "cfo_tempdir.h"
#include "cfo_zip.h"

using cfotest::TempDir;
using cfotest::WriteNative;

// Every allocation of the program passes through here, so that a test can see the largest
// single request and how many large ones a piece of work made.
namespace {
std::atomic<size_t> largest_request{0};
std::atomic<size_t> large_threshold{SIZE_MAX};
std::atomic<int> large_requests{0};
}  // namespace

namespace {
void* CountedAllocation(std::size_t size) noexcept {
    size_t seen = largest_request.load(std::memory_order_relaxed);
    while (size > seen && !largest_request.compare_exchange_weak(seen, size)) {
    }
    if (size >= large_threshold.load(std::memory_order_relaxed)) ++large_requests;
    return std::malloc(size ? size : 1);
}
}  // namespace

// Every form the library offers is replaced: a sanitizer runtime brings its own of each,
// and one left out would pass requests by the count. The no-throw single-object form is
// test_cfomemory.cpp's, which hands on to the ordinary one.
void* operator new(std::size_t size) {
    if (void* p = CountedAllocation(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    if (void* p = CountedAllocation(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return CountedAllocation(size);
}
// GCC sees the free() of a block that came from `new` once these are inlined, and takes
// the pair it is looking at for a mismatch.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

// Counts requests of at least `threshold` bytes, and the largest request, from now on.
void WatchAllocations(size_t threshold) {
    largest_request = 0;
    large_requests = 0;
    large_threshold = threshold;
}

// A file of `size` zero bytes that takes no room on the disk.
void WriteSparse(const std::string& name, uint64_t size) {
    const std::string native = TempDir() + "/" + name;
    { std::ofstream create(native, std::ios::binary); }
    std::filesystem::resize_file(native, size);
}

// Writes the archive as a native file and mounts it at `mount_point`.
std::string MountZip(const std::string& file_name, const std::string& bytes,
                     const std::string& mount_point) {
    WriteNative(file_name, bytes);
    const std::string native = TempDir() + "/" + file_name;
    std::string reason;
    EXPECT_TRUE(FileSystemMount(native, mount_point, &reason)) << reason;
    return native;
}

std::string TooBig(const std::string& path, uint64_t size) {
    char line[256];
    std::snprintf(line, sizeof line,
                  "File '%s' is %" PRIu64 " bytes, more than the %" PRIu64
                  " a whole read may take\n",
                  path.c_str(), size, FILE_READ_ALL_LIMIT);
    return line;
}

std::string Hex(uint32_t v) {
    char text[16];
    std::snprintf(text, sizeof text, "%08" PRIx32, v);
    return text;
}

std::string Text(size_t size) {
    std::string text;
    for (size_t i = 0; text.size() < size; ++i) text += "key" + std::to_string(i) + "=value;\n";
    text.resize(size);
    return text;
}

std::string Corrupt() { return PHYSFS_getErrorByCode(PHYSFS_ERR_CORRUPT); }

std::unordered_map<std::string, uint32_t> ChecksumsOf(const std::string& archive, bool* ok) {
    std::unordered_map<std::string, uint32_t> crcs{{"stale", 1}};
    auto read_at = [&archive](uint64_t offset, void* dest, size_t size) {
        if (offset > archive.size() || size > archive.size() - offset) return false;
        std::memcpy(dest, archive.data() + offset, size);
        return true;
    };
    *ok = ZipMemberChecksums(archive.size(), read_at, crcs);
    return crcs;
}

}  // namespace

TEST(CfoFileLimit, LimitLeavesRoomForTheLargestAssets) {
    EXPECT_EQ(FILE_READ_ALL_LIMIT, 256u * 1024 * 1024);
    // The large-document tests parse 50 MB; a 4096x4096 32-bit TGA is 64 MiB and its header.
    EXPECT_GT(FILE_READ_ALL_LIMIT, 4096u * 4096 * 4 + 18);
}

TEST(CfoFileLimit, PlainFileAboveTheLimitIsRefusedBeforeAllocating) {
    ASSERT_FALSE(TempDir().empty());
    WriteSparse("big_plain.bin", FILE_READ_ALL_LIMIT + 1);
    File file("big_plain.bin", File::READ);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(file.Length(), FILE_READ_ALL_LIMIT + 1);
    WatchAllocations(SIZE_MAX);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), -1);
    EXPECT_LT(largest_request.load(), 64u * 1024);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              TooBig("big_plain.bin", FILE_READ_ALL_LIMIT + 1));
    EXPECT_EQ(file.Data(), nullptr);
}

TEST(CfoFileLimit, PlainFileOfExactlyTheLimitIsRead) {
    ASSERT_FALSE(TempDir().empty());
    WriteSparse("limit_plain.bin", FILE_READ_ALL_LIMIT);
    {
        File file("limit_plain.bin", File::READ);
        WatchAllocations(1 << 20);
        testing::internal::CaptureStdout();
        EXPECT_EQ(file.ReadAll(), static_cast<int64_t>(FILE_READ_ALL_LIMIT));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(large_requests.load(), 1);
        ASSERT_NE(file.Data(), nullptr);
        EXPECT_EQ(file.Data()[0], 0);
        EXPECT_EQ(file.Data()[FILE_READ_ALL_LIMIT - 1], 0);
    }
    std::filesystem::remove(TempDir() + "/limit_plain.bin");
}

// A length beyond 32 bits used to be cut, and 4 GiB + 5 bytes read as a 5-byte file.
TEST(CfoFileLimit, FileBeyondThirtyTwoBitsIsRefusedNotCut) {
    ASSERT_FALSE(TempDir().empty());
    const uint64_t size = (uint64_t(1) << 32) + 5;
    WriteSparse("huge_plain.bin", size);
    File file("huge_plain.bin", File::READ);
    EXPECT_EQ(file.Length(), UINT32_MAX);
    WatchAllocations(SIZE_MAX);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), TooBig("huge_plain.bin", size));
    EXPECT_LT(largest_request.load(), 64u * 1024);
}

// A few hundred KB of archive whose member inflates to just past the limit.
TEST(CfoFileLimit, ZipMemberAboveTheLimitIsRefusedBeforeAllocating) {
    ASSERT_FALSE(TempDir().empty());
    const std::string zip = cfotest::Zip({cfotest::Zeros("zero.cfo", FILE_READ_ALL_LIMIT + 1)});
    EXPECT_LT(zip.size(), 1u << 20);
    MountZip("bomb.zip", zip, "zips/bomb");

    File file("zips/bomb/zero.cfo", File::READ);
    ASSERT_TRUE(file.IsOpen());
    WatchAllocations(SIZE_MAX);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              TooBig("zips/bomb/zero.cfo", FILE_READ_ALL_LIMIT + 1));
    EXPECT_LT(largest_request.load(), 64u * 1024);

    // The document loader says it once, through the file layer, and builds nothing.
    CfoDocument doc;
    WatchAllocations(SIZE_MAX);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("zips/bomb/zero.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              TooBig("zips/bomb/zero.cfo", FILE_READ_ALL_LIMIT + 1));
    EXPECT_LT(largest_request.load(), 64u * 1024);
    EXPECT_TRUE(doc.children.empty());
}

TEST(CfoFileLimit, ZipMemberOfOneMegabyteOfZerosReadsWhole) {
    ASSERT_FALSE(TempDir().empty());
    const uint64_t size = (1u << 20) + 3;
    MountZip("zeros.zip", cfotest::Zip({cfotest::Zeros("zero.bin", size)}), "zips/zeros");
    File file("zips/zeros/zero.bin", File::READ);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), static_cast<int64_t>(size));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_NE(file.Data(), nullptr);
    EXPECT_EQ(std::string(file.Data(), size), std::string(size, '\0'));
}

// The file's buffer is the document's only copy of the text: no string, no cleaning copy.
TEST(CfoFileLimit, DocumentLoadKeepsOneCopyOfTheText) {
    ASSERT_FALSE(TempDir().empty());
    const std::string text = "list={\n" + Text(4u << 20) + "\n}\n";
    WriteNative("one_copy.cfo", text);
    CfoDocument doc;
    WatchAllocations(text.size() / 2);
    EXPECT_TRUE(doc.LoadFile("one_copy.cfo"));
    EXPECT_EQ(large_requests.load(), 1);
    EXPECT_LE(largest_request.load(), text.size());
    large_threshold = SIZE_MAX;

    CfoDocument parsed;
    ASSERT_TRUE(parsed.Parse(text));
    EXPECT_EQ(cforef::Dump(&doc), cforef::Dump(&parsed));
    ASSERT_EQ(doc.children.size(), 1u);
    EXPECT_EQ(doc.children[0]->children[0]->name, "key0");
}

TEST(CfoFileLimit, DocumentAboveTheLimitIsNamedWithItsSize) {
    ASSERT_FALSE(TempDir().empty());
    WriteSparse("big_doc.cfo", FILE_READ_ALL_LIMIT + 100);
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("big_doc.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              TooBig("big_doc.cfo", FILE_READ_ALL_LIMIT + 100));
}

TEST(CfoFileDamage, BrokenDeflateStreamIsAShortRead) {
    ASSERT_FALSE(TempDir().empty());
    const std::string text = Text(200000);
    cfotest::ZipMember member = cfotest::Deflated("broken.cfo", text);
    ASSERT_GT(member.data.size(), 1000u);
    // Bits that are no valid code, half way through: inflating stops there.
    member.data.replace(member.data.size() / 2, 64, 64, '\xff');
    MountZip("broken_deflate.zip", cfotest::Zip({member}), "zips/broken");

    File file("zips/broken/broken.cfo", File::READ);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), -1);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(file.Data(), nullptr);
    const std::string head = "File 'zips/broken/broken.cfo': read ";
    const std::string tail = " of 200000 bytes (" + Corrupt() + ")\n";
    ASSERT_GT(out.size(), head.size() + tail.size()) << out;
    EXPECT_EQ(out.substr(0, head.size()), head);
    EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
    long got = std::strtol(out.c_str() + head.size(), nullptr, 10);
    EXPECT_LT(got, 200000);

    // The document is not parsed from the bytes that did arrive.
    CfoDocument doc;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(doc.LoadFile("zips/broken/broken.cfo"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), out);
    EXPECT_TRUE(doc.children.empty());
}

TEST(CfoFileDamage, DeflateStreamCutShortIsAShortRead) {
    ASSERT_FALSE(TempDir().empty());
    const std::string text = Text(100000);
    cfotest::ZipMember member = cfotest::Deflated("cut.cfo", text);
    member.data.resize(member.data.size() / 2);
    MountZip("cut_deflate.zip", cfotest::Zip({member}), "zips/cut");

    File file("zips/cut/cut.cfo", File::READ);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file.ReadAll(), -1);
    std::string out = testing::internal::GetCapturedStdout();
    const std::string head = "File 'zips/cut/cut.cfo': read ";
    const std::string tail = " of 100000 bytes (" + Corrupt() + ")\n";
    ASSERT_GT(out.size(), head.size() + tail.size()) << out;
    EXPECT_EQ(out.substr(0, head.size()), head);
    EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
    EXPECT_LT(std::strtol(out.c_str() + head.size(), nullptr, 10), 100000);
}

TEST(CfoFileDamage, WrongChecksumIsRefused) {
    ASSERT_FALSE(TempDir().empty());
    const std::string text = "a={b=1;}\n" + Text(5000);
    cfotest::ZipMember deflated = cfotest::Deflated("deflated.cfo", text);
    cfotest::ZipMember stored = cfotest::Stored("stored.cfo", text);
    const uint32_t right = deflated.crc;
    deflated.crc ^= 0x00010000;
    stored.crc ^= 0x80000000;
    const std::string native =
        MountZip("bad_crc.zip", cfotest::Zip({deflated, stored}), "zips/badcrc");

    for (const cfotest::ZipMember* m : {&deflated, &stored}) {
        const std::string path = "zips/badcrc/" + m->name;
        const std::string line = "File '" + path + "': checksum " + Hex(right) + ", but '" +
                                 native + "' records " + Hex(m->crc) + "\n";
        File file(path, File::READ);
        testing::internal::CaptureStdout();
        EXPECT_EQ(file.ReadAll(), -1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), line);
        EXPECT_EQ(file.Data(), nullptr);

        CfoDocument doc;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(doc.LoadFile(path));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), line);
        EXPECT_TRUE(doc.children.empty());
    }
}

// Healthy members read without a word from archives of every shape: deflated and stored,
// mounted at the root or below it, closed by ZIP64 records, behind a prefix.
TEST(CfoFileDamage, HealthyMembersReadWithoutAWord) {
    ASSERT_FALSE(TempDir().empty());
    const std::string text = "a={b=1;}\n" + Text(3000);
    const std::vector<cfotest::ZipMember> members = {cfotest::Deflated("good/deflated.cfo", text),
                                                     cfotest::Stored("good/stored.cfo", text)};
    cfotest::ZipOptions zip64;
    zip64.zip64 = true;
    cfotest::ZipOptions prefixed;
    prefixed.prefix = std::string(777, 'x');
    MountZip("good_root.zip", cfotest::Zip(members), "/");
    MountZip("good_zip64.zip", cfotest::Zip(members, zip64), "zips/zip64");
    MountZip("good_prefix.zip", cfotest::Zip(members, prefixed), "zips/prefix/");
    for (const std::string dir : {"", "zips/zip64/", "/zips/prefix/"}) {
        for (const char* name : {"good/deflated.cfo", "good/stored.cfo"}) {
            File file(dir + name, File::READ);
            testing::internal::CaptureStdout();
            EXPECT_EQ(file.ReadAll(), static_cast<int64_t>(text.size())) << dir << name;
            EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << dir << name;
            ASSERT_NE(file.Data(), nullptr);
            EXPECT_EQ(std::string(file.Data(), text.size()), text);
        }
    }
}

TEST(CfoFileDamage, WrongChecksumIsFoundInEveryArchiveShape) {
    ASSERT_FALSE(TempDir().empty());
    cfotest::ZipMember member = cfotest::Deflated("m.cfo", "a=1;");
    member.crc = ~member.crc;
    cfotest::ZipOptions zip64;
    zip64.zip64 = true;
    cfotest::ZipOptions prefixed;
    prefixed.prefix = "#!/bin/sh\nexit 0\n";
    MountZip("crc_zip64.zip", cfotest::Zip({member}, zip64), "zips/crc64");
    MountZip("crc_prefix.zip", cfotest::Zip({member}, prefixed), "zips/crcprefix");
    for (const char* path : {"zips/crc64/m.cfo", "zips/crcprefix/m.cfo"}) {
        File file(path, File::READ);
        testing::internal::CaptureStdout();
        EXPECT_EQ(file.ReadAll(), -1) << path;
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(out.substr(0, out.find(':')), std::string("File '") + path + "'");
        EXPECT_NE(out.find("records " + Hex(member.crc) + "\n"), std::string::npos) << out;
    }
}

TEST(CfoFileDamage, CrcMatchesZlib) {
    std::mt19937 rng(7);
    std::string data(100003, '\0');
    for (char& c : data) c = static_cast<char>(rng());
    for (size_t size :
         {size_t(0), size_t(1), size_t(7), size_t(8), size_t(9), size_t(4096), data.size()}) {
        const std::string part = data.substr(0, size);
        EXPECT_EQ(FileCrc32(part.data(), part.size()), cfotest::ZlibCrc(part)) << size;
    }
    // Continued over two blocks.
    uint32_t crc = FileCrc32(data.data(), 1000);
    EXPECT_EQ(FileCrc32(data.data() + 1000, data.size() - 1000, crc), cfotest::ZlibCrc(data));
    EXPECT_EQ(FileCrc32("123456789", 9), 0xCBF43926u);
}

TEST(CfoFileDamage, ChecksumsComeFromTheCentralDirectory) {
    cfotest::ZipMember a = cfotest::Deflated("a.cfo", "a=1;");
    cfotest::ZipMember folder = cfotest::Stored("dir/", "");
    cfotest::ZipMember link = cfotest::Stored("link.cfo", "a.cfo");
    link.unix_mode = 0120777;
    cfotest::ZipMember dos = cfotest::Stored("dos\\name.cfo", "d");
    dos.made_by = 0x0014;
    cfotest::ZipMember twin1 = cfotest::Stored("twin.cfo", "1");
    cfotest::ZipMember twin2 = cfotest::Stored("twin.cfo", "2");
    cfotest::ZipMember same1 = cfotest::Stored("same.cfo", "s");
    cfotest::ZipMember same2 = same1;
    const std::vector<cfotest::ZipMember> members = {a,     folder, link,  dos,
                                                     twin1, twin2,  same1, same2};
    const std::unordered_map<std::string, uint32_t> want = {
        {"a.cfo", a.crc}, {"dos/name.cfo", dos.crc}, {"same.cfo", same1.crc}};

    bool ok = false;
    EXPECT_EQ(ChecksumsOf(cfotest::Zip(members), &ok), want);
    EXPECT_TRUE(ok);
    cfotest::ZipOptions options;
    options.zip64 = true;
    EXPECT_EQ(ChecksumsOf(cfotest::Zip(members, options), &ok), want);
    EXPECT_TRUE(ok);
    options.prefix = std::string(70000, 'P');
    EXPECT_EQ(ChecksumsOf(cfotest::Zip(members, options), &ok), want);
    EXPECT_TRUE(ok);

    // 65535 members fill the classic count without making the archive ZIP64.
    std::vector<cfotest::ZipMember> many;
    for (int i = 0; i < 65535; ++i) many.push_back(cfotest::Stored(std::to_string(i), ""));
    many.back() = cfotest::Stored("last", "x");
    const auto crcs = ChecksumsOf(cfotest::Zip(many), &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(crcs.size(), 65535u);
    EXPECT_EQ(crcs.count("65533"), 1u);
    ASSERT_EQ(crcs.count("last"), 1u);
    EXPECT_EQ(crcs.at("last"), cfotest::ZlibCrc("x"));

    // An empty archive is a ZIP without members.
    EXPECT_TRUE(ChecksumsOf(cfotest::Zip({}), &ok).empty());
    EXPECT_TRUE(ok);

    // Not a ZIP, or one whose end is missing or whose directory is damaged: nothing.
    const std::string zip = cfotest::Zip(members);
    for (const std::string& bad :
         {std::string(), std::string("PK"), std::string(5000, 'x'), zip.substr(0, zip.size() - 10),
          zip.substr(0, zip.size() - 22), zip.substr(zip.size() / 2)}) {
        EXPECT_TRUE(ChecksumsOf(bad, &ok).empty()) << bad.size();
        EXPECT_FALSE(ok) << bad.size();
    }
    std::string damaged = zip;
    damaged[zip.rfind("PK\x01\x02") + 1] = 'X';
    EXPECT_TRUE(ChecksumsOf(damaged, &ok).empty());
    EXPECT_FALSE(ok);
    std::string long_name = zip;
    long_name[zip.rfind("PK\x01\x02") + 28] = '\xff';  // a name running past the directory
    EXPECT_TRUE(ChecksumsOf(long_name, &ok).empty());
    EXPECT_FALSE(ok);
}

// PhysFS gives no code of its own for a ZIP cut short in its end record.
TEST(CfoMount, TruncatedArchiveSaysCorrupted) {
    ASSERT_FALSE(TempDir().empty());
    const std::string zip = cfotest::Zip({cfotest::Deflated("a.cfo", "a=1;")});
    WriteNative("trunc_tail.zip", zip.substr(0, zip.size() - 10));
    const std::string native = TempDir() + "/trunc_tail.zip";
    std::string reason = "untouched";
    EXPECT_FALSE(FileSystemMount(native, "/", &reason));
    EXPECT_EQ(reason, Corrupt());

    // Not the leftover code of some earlier call either.
    PHYSFS_setErrorCode(PHYSFS_ERR_BUSY);
    reason.clear();
    EXPECT_FALSE(FileSystemMount(native, "zips/trunc", &reason));
    EXPECT_EQ(reason, Corrupt());
}

TEST(CfoMount, FailuresCarryPhysFsReasons) {
    ASSERT_FALSE(TempDir().empty());
    std::string reason;
    EXPECT_FALSE(FileSystemMount(TempDir() + "/no_such.zip", "/", &reason));
    EXPECT_EQ(reason, PHYSFS_getErrorByCode(PHYSFS_ERR_NOT_FOUND));

    WriteNative("not_an_archive.txt", "just text, no archive");
    reason.clear();
    EXPECT_FALSE(FileSystemMount(TempDir() + "/not_an_archive.txt", "/", &reason));
    EXPECT_EQ(reason, PHYSFS_getErrorByCode(PHYSFS_ERR_UNSUPPORTED));

    // A good mount leaves the reason alone.
    WriteNative("fine.zip", cfotest::Zip({cfotest::Deflated("fine.cfo", "a=1;")}));
    reason = "untouched";
    EXPECT_TRUE(FileSystemMount(TempDir() + "/fine.zip", "zips/fine", &reason));
    EXPECT_EQ(reason, "untouched");
    EXPECT_TRUE(FileSystemMount(TempDir() + "/fine.zip", "zips/fine2"));
}
