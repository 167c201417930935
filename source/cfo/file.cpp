#include "cfo/file.h"

#include <physfs.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <new>
#include <unordered_set>
#include <vector>

namespace {
bool physfs_tried = false;
bool physfs_ok = false;

const char* ErrorText(PHYSFS_ErrorCode code) {
    const char* text = PHYSFS_getErrorByCode(code);
    return text ? text : "";
}

// PhysFS leaves its error code alone when a read inside an archive simply comes up short
// (a ZIP cut off, a deflate stream that ends before the member does), so such a failure
// arrives with no code, or with the leftover code of some earlier call. Callers clear the
// code before the call and ask this right after it.
PHYSFS_ErrorCode FailureCode(PHYSFS_ErrorCode fallback) {
    PHYSFS_ErrorCode code = PHYSFS_getLastErrorCode();
    return code == PHYSFS_ERR_OK ? fallback : code;
}

}  // namespace

bool FileSystemInit() {
    if (!physfs_tried) {
        physfs_tried = true;
        physfs_ok = PHYSFS_isInit() != 0 || PHYSFS_init(nullptr) != 0;
    }
    return physfs_ok;
}

bool FileSystemMount(const std::string& native_path, const std::string& mount_point,
                     std::string* reason) {
    if (!FileSystemInit()) {
        if (reason) *reason = ErrorText(PHYSFS_ERR_NOT_INITIALIZED);
        return false;
    }
    PHYSFS_getLastErrorCode();  // drop what an earlier call left behind
    if (PHYSFS_mount(native_path.c_str(), mount_point.c_str(), 1) != 0) return true;
    PHYSFS_ErrorCode code = FailureCode(PHYSFS_ERR_CORRUPT);
    if (reason) *reason = ErrorText(code);
    return false;
}

bool FileSystemSetWriteDir(const std::string& native_path) {
    if (!FileSystemInit()) return false;
    return PHYSFS_setWriteDir(native_path.c_str()) != 0;
}

namespace {

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t U32(const uint8_t* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
uint64_t U64(const uint8_t* p) { return uint64_t(U32(p)) | (uint64_t(U32(p + 4)) << 32); }

}  // namespace

uint32_t FileCrc32(const void* data, size_t size, uint32_t crc) {
    // zlib's own, in pieces its 32-bit length takes.
    const Bytef* p = static_cast<const Bytef*>(data);
    uLong value = crc;
    while (size > 0) {
        const uInt n = static_cast<uInt>(std::min<size_t>(size, 1u << 30));
        value = crc32(value, p, n);
        p += n;
        size -= n;
    }
    return static_cast<uint32_t>(value);
}

// The ZIP directory. The end record (22 bytes and a comment of up to 64 KiB) closes the
// archive; right before it may sit the ZIP64 locator, which points at the ZIP64 end
// record. The central directory lies directly before the end record (or the ZIP64 one),
// so its start is taken as that position less its size: that holds also for an archive
// with something prepended, whose recorded offsets are all shifted.
bool ZipMemberChecksums(uint64_t archive_size, const ZipReadAt& read_at,
                        std::unordered_map<std::string, uint32_t>& crcs) {
    constexpr uint32_t END_SIG = 0x06054b50, LOCATOR_SIG = 0x07064b50, END64_SIG = 0x06064b50,
                       ENTRY_SIG = 0x02014b50;
    constexpr size_t END_SIZE = 22, LOCATOR_SIZE = 20, END64_SIZE = 56, ENTRY_SIZE = 46;
    crcs.clear();
    if (archive_size < END_SIZE) return false;

    const uint64_t tail_size = std::min<uint64_t>(archive_size, END_SIZE + 65535);
    std::vector<uint8_t> tail(static_cast<size_t>(tail_size));
    if (!read_at(archive_size - tail_size, tail.data(), tail.size())) return false;
    size_t p = tail.size() - END_SIZE + 1;
    bool found = false;
    while (p-- > 0) {
        if (U32(&tail[p]) == END_SIG) {
            found = true;
            break;
        }
    }
    if (!found) return false;
    uint64_t end_pos = archive_size - tail_size + p;
    uint64_t dir_size = U32(&tail[p + 12]);
    if (U16(&tail[p + 10]) == 0xFFFF || dir_size == 0xFFFFFFFF ||
        U32(&tail[p + 16]) == 0xFFFFFFFF) {
        // ZIP64, or a classic archive that happens to hold 65535 members: the locator tells.
        uint8_t locator[LOCATOR_SIZE];
        const bool zip64 = end_pos >= LOCATOR_SIZE + END64_SIZE &&
                           read_at(end_pos - LOCATOR_SIZE, locator, LOCATOR_SIZE) &&
                           U32(locator) == LOCATOR_SIG;
        if (zip64) {
            // Normally right before the locator; where a record with extra data makes that
            // guess wrong, the recorded offset holds unless something was prepended too.
            uint64_t end64_pos = end_pos - LOCATOR_SIZE - END64_SIZE;
            uint8_t end64[END64_SIZE];
            if (!read_at(end64_pos, end64, END64_SIZE) || U32(end64) != END64_SIG) {
                end64_pos = U64(locator + 8);
                if (end64_pos > end_pos - LOCATOR_SIZE - END64_SIZE) return false;
                if (!read_at(end64_pos, end64, END64_SIZE) || U32(end64) != END64_SIG) return false;
            }
            dir_size = U64(end64 + 40);
            end_pos = end64_pos;
        } else if (dir_size == 0xFFFFFFFF) {
            return false;
        }
    }
    // The directory is no bigger than the archive, and never bigger than a whole read.
    if (dir_size > end_pos || dir_size > FILE_READ_ALL_LIMIT) return false;
    std::vector<uint8_t> dir(static_cast<size_t>(dir_size));
    if (!dir.empty() && !read_at(end_pos - dir_size, dir.data(), dir.size())) return false;

    std::unordered_set<std::string> ambiguous;
    size_t at = 0;
    while (at + ENTRY_SIZE <= dir.size()) {
        const uint8_t* e = &dir[at];
        if (U32(e) != ENTRY_SIG) {
            crcs.clear();
            return false;
        }
        const uint16_t made_by = U16(e + 4);
        const uint16_t flags = U16(e + 8);
        const uint32_t crc = U32(e + 16);
        const size_t name_size = U16(e + 28);
        const size_t next = at + ENTRY_SIZE + name_size + U16(e + 30) + U16(e + 32);
        const uint32_t unix_mode = U32(e + 38) >> 16;
        if (next > dir.size()) {
            crcs.clear();
            return false;
        }
        std::string name(reinterpret_cast<const char*>(e + ENTRY_SIZE), name_size);
        at = next;
        // Names written on FAT hosts may use backslashes; PhysFS reads them as slashes.
        if ((made_by >> 8) == 0) std::replace(name.begin(), name.end(), '\\', '/');
        const bool encrypted = (flags & 1) != 0;
        const bool symlink = (made_by >> 8) == 3 && (unix_mode & 0170000) == 0120000;
        if (name.empty() || name.back() == '/' || encrypted || symlink) continue;
        if (ambiguous.count(name)) continue;
        auto [it, added] = crcs.emplace(name, crc);
        if (!added && it->second != crc) {
            // Two members of one name: which one PhysFS reads is its own business.
            crcs.erase(it);
            ambiguous.insert(name);
        }
    }
    return true;
}

namespace {

// The checksums of each archive read from so far, kept while its size and time stay.
struct ArchiveChecksums {
    bool known = false;
    off_t size = 0;
    struct timespec mtime = {};
    bool zip = false;
    std::unordered_map<std::string, uint32_t> crcs;
};

const ArchiveChecksums& ChecksumsOf(const std::string& native, const struct stat& st) {
    static std::unordered_map<std::string, ArchiveChecksums> cache;
    ArchiveChecksums& entry = cache[native];
    if (entry.known && entry.size == st.st_size && entry.mtime.tv_sec == st.st_mtim.tv_sec &&
        entry.mtime.tv_nsec == st.st_mtim.tv_nsec)
        return entry;
    entry = ArchiveChecksums();
    entry.known = true;
    entry.size = st.st_size;
    entry.mtime = st.st_mtim;
    if (std::FILE* f = std::fopen(native.c_str(), "rb")) {
        auto read_at = [f](uint64_t offset, void* dest, size_t size) {
            if (fseeko(f, static_cast<off_t>(offset), SEEK_SET) != 0) return false;
            return std::fread(dest, 1, size, f) == size;
        };
        entry.zip = ZipMemberChecksums(static_cast<uint64_t>(st.st_size), read_at, entry.crcs);
        std::fclose(f);
    }
    return entry;
}

// A search-path name as PhysFS sees it: no leading, trailing or doubled slashes.
std::string CleanPath(const char* path) {
    std::string clean;
    for (const char* c = path; *c; ++c) {
        if (*c != '/')
            clean += *c;
        else if (!clean.empty() && clean.back() != '/')
            clean += '/';
    }
    if (!clean.empty() && clean.back() == '/') clean.pop_back();
    return clean;
}

}  // namespace

File::File(const std::string& file_path, int32_t file_mode) : mode(file_mode), path(file_path) {
    if (!FileSystemInit()) return;
    if (mode == READ) {
        if (PHYSFS_exists(path.c_str())) handle = PHYSFS_openRead(path.c_str());
    } else if (mode == WRITE) {
        handle = PHYSFS_openWrite(path.c_str());
    }
}

File::~File() {
    delete[] buffer;
    if (handle) PHYSFS_close(handle);
}

uint32_t File::Length() {
    if (!handle) return 0;
    PHYSFS_sint64 length = PHYSFS_fileLength(handle);
    if (length < 0) return 0;  // unknown length: nothing sensible to allocate
    if (static_cast<uint64_t>(length) > UINT32_MAX) return UINT32_MAX;
    return static_cast<uint32_t>(length);
}

int64_t File::ReadAll() {
    if (mode != READ || !handle) return 0;
    PHYSFS_sint64 full = PHYSFS_fileLength(handle);
    if (full <= 0) return 0;
    delete[] buffer;
    buffer = nullptr;
    const uint64_t length = static_cast<uint64_t>(full);
    if (length > FILE_READ_ALL_LIMIT) {
        std::printf("File '%s' is %" PRIu64 " bytes, more than the %" PRIu64
                    " a whole read may take\n",
                    path.c_str(), length, FILE_READ_ALL_LIMIT);
        return -1;
    }
    buffer = new (std::nothrow) char[length];
    if (!buffer) {
        std::printf("File '%s': no memory for its %" PRIu64 " bytes\n", path.c_str(), length);
        return -1;
    }

    PHYSFS_getLastErrorCode();  // a code left by an earlier call is not this read's reason
    uint64_t got = 0;
    if (PHYSFS_tell(handle) == 0 || PHYSFS_seek(handle, 0) != 0) {
        while (got < length) {
            PHYSFS_sint64 n = PHYSFS_readBytes(handle, buffer + got, length - got);
            if (n <= 0) break;
            got += static_cast<uint64_t>(n);
        }
    }
    if (got < length) {
        // Without a code of its own a read stops short either at the end of a file that is
        // shorter than it claims, or in data it cannot decode.
        PHYSFS_ErrorCode code =
            FailureCode(PHYSFS_eof(handle) ? PHYSFS_ERR_PAST_EOF : PHYSFS_ERR_CORRUPT);
        std::printf("File '%s': read %" PRIu64 " of %" PRIu64 " bytes (%s)\n", path.c_str(), got,
                    length, ErrorText(code));
        delete[] buffer;
        buffer = nullptr;
        return -1;
    }
    if (!MatchesArchiveChecksum(length)) {
        delete[] buffer;
        buffer = nullptr;
        return -1;
    }
    return static_cast<int64_t>(length);
}

bool File::MatchesArchiveChecksum(uint64_t length) {
    const char* dir = PHYSFS_getRealDir(path.c_str());
    if (!dir) return true;
    struct stat st;
    if (stat(dir, &st) != 0 || !S_ISREG(st.st_mode)) return true;  // a folder: no checksums
    const ArchiveChecksums& archive = ChecksumsOf(dir, st);
    if (!archive.zip) return true;

    std::string name = CleanPath(path.c_str());
    const char* mounted_at = PHYSFS_getMountPoint(dir);
    std::string mount = CleanPath(mounted_at ? mounted_at : "");
    if (!mount.empty()) {
        if (name.compare(0, mount.size() + 1, mount + "/") != 0) return true;
        name.erase(0, mount.size() + 1);
    }
    auto it = archive.crcs.find(name);
    if (it == archive.crcs.end()) return true;
    uint32_t crc = FileCrc32(buffer, static_cast<size_t>(length));
    if (crc == it->second) return true;
    std::printf("File '%s': checksum %08" PRIx32 ", but '%s' records %08" PRIx32 "\n", path.c_str(),
                crc, dir, it->second);
    return false;
}

int64_t File::Read(void* dest, uint32_t size, uint32_t count) {
    if (!handle || size == 0 || count == 0) return 0;
    uint64_t bytes = static_cast<uint64_t>(size) * count;
    PHYSFS_sint64 got = PHYSFS_readBytes(handle, dest, bytes);
    if (got < 0) return 0;
    return got / size;
}

int64_t File::Write(const void* source, uint32_t size, uint32_t count) {
    if (!handle || size == 0 || count == 0) return 0;
    uint64_t bytes = static_cast<uint64_t>(size) * count;
    PHYSFS_sint64 put = PHYSFS_writeBytes(handle, source, bytes);
    if (put < 0) return 0;
    return put / size;
}
