#pragma once
// File: the one way the engine reads and writes data files. It wraps a PhysFS handle, so
// every path is a path on the virtual search path ("data/" and whatever archives a level
// mounts), never a native path.
//
// Ownership: a File owns its PhysFS handle and the buffer ReadAll() fills; both go away
// with the object. The first File of the process (or the first call of FileSystemInit)
// starts PhysFS once; whether that worked is kept for the rest of the process.
//
// Whole-file reads are the only way documents, textures, fonts, meshes, the ABT and
// sounds get their bytes, so ReadAll() is where the file layer stands guard for all of
// them: it refuses a file above FILE_READ_ALL_LIMIT before allocating anything, treats a
// read that stops short of the length as a failure, and checks what it read from a ZIP
// archive against the checksum the archive records. Each refusal prints one line naming
// the file.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

struct PHYSFS_File;

// The largest file ReadAll() takes: 256 MiB. The biggest assets the engine reads whole are
// far below it (a 4096x4096 32-bit TGA is 64 MiB, a DXT5 DDS of that size with its mipmaps
// about 21 MiB, level geometry documents a few MB, the large-document tests 50 MB), while
// a small archive whose member inflates to gigabytes, or a file that only claims such a
// size, is refused before a byte is allocated.
constexpr uint64_t FILE_READ_ALL_LIMIT = 256ull * 1024 * 1024;

// Starts PhysFS on first use and reports, then and afterwards, whether it is running.
// The start-up calls it before mounting "data/"; every File constructor calls it too.
bool FileSystemInit();

// Adds a native folder or archive to the search path (appended after what is there). On a
// failure `reason`, when given, receives PhysFS's text for it. PhysFS gives no code at
// all for an archive it recognised but could not read to the end of its directory (a ZIP
// cut short, for one); that failure is reported as corrupted data, never as "no error" or
// as an older failure's leftover code.
bool FileSystemMount(const std::string& native_path, const std::string& mount_point = "/",
                     std::string* reason = nullptr);

// Sets the native folder that writes go to. Without one, a File opened for writing has
// no handle and writes nothing.
bool FileSystemSetWriteDir(const std::string& native_path);

// CRC-32 as ZIP archives record it (the polynomial 0xEDB88320 form); pass the result of
// the previous block as `crc` to continue over several blocks.
uint32_t FileCrc32(const void* data, size_t size, uint32_t crc = 0);

// Reads the checksums of a ZIP archive's members from its central directory (ZIP64
// included) into `crcs`, keyed by the member's name in the archive; folders and
// encrypted members are left out. `read_at` fills `size` bytes from `offset` of the
// archive and says false when they are not there. False, with `crcs` empty, when the
// bytes are not a ZIP archive or its directory is damaged. The file layer uses it on the
// archives it reads from; it takes any source so that tests and the fuzzer can feed it.
using ZipReadAt = std::function<bool(uint64_t offset, void* dest, size_t size)>;
bool ZipMemberChecksums(uint64_t archive_size, const ZipReadAt& read_at,
                        std::unordered_map<std::string, uint32_t>& crcs);

class File {
public:
    enum Mode : int32_t { READ = 1, WRITE = 2 };

    // Mode 1 opens an existing file for reading, mode 2 creates or truncates one in the
    // write folder. A failure leaves the handle empty and says nothing: callers test
    // IsOpen(), Length() or the result of ReadAll().
    File(const std::string& path, int32_t mode);
    virtual ~File();

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const { return handle != nullptr; }

    // The file's length; 0 without a handle or when PhysFS cannot tell. A length beyond 32
    // bits reads as UINT32_MAX, so that a huge file is never taken for a small or empty one.
    uint32_t Length();

    // Reads the whole file into the owned buffer (exactly Length() bytes, not terminated).
    //  - the length: everything arrived (and, for a ZIP member, matches its checksum);
    //  - 0: nothing to read (no handle, not open for reading, empty or of unknown length),
    //    and nothing printed: the caller says what that means for it;
    //  - -1: refused or failed, with one line printed that names the file: a length above
    //    FILE_READ_ALL_LIMIT (refused before anything is allocated), no memory, a read that
    //    stopped short (how far it got, and PhysFS's reason), or a checksum that differs
    //    from the archive's. The buffer is freed: nothing half-read is ever handed out.
    int64_t ReadAll();
    const char* Data() const { return buffer; }
    // The buffer for a caller that works on the bytes in place (the document parser).
    char* Data() { return buffer; }

    // Reads or writes `count` objects of `size` bytes; the result is the number of whole
    // objects moved, 0 on failure.
    int64_t Read(void* dest, uint32_t size, uint32_t count);
    int64_t Write(const void* source, uint32_t size, uint32_t count);

private:
    // False, with the line printed, when the bytes read from a ZIP member differ from the
    // checksum its archive records. Files outside ZIP archives always pass.
    bool MatchesArchiveChecksum(uint64_t length);

    int32_t mode;
    std::string path;  // the search-path name, for messages
    PHYSFS_File* handle = nullptr;
    char* buffer = nullptr;  // owned, filled by ReadAll
};
