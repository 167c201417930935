#include "cfo/file.h"

#include <physfs.h>

#include <new>

namespace {
bool physfs_tried = false;
bool physfs_ok = false;
}  // namespace

bool FileSystemInit() {
    if (!physfs_tried) {
        physfs_tried = true;
        physfs_ok = PHYSFS_isInit() != 0 || PHYSFS_init(nullptr) != 0;
    }
    return physfs_ok;
}

bool FileSystemMount(const std::string& native_path, const std::string& mount_point) {
    if (!FileSystemInit()) return false;
    return PHYSFS_mount(native_path.c_str(), mount_point.c_str(), 1) != 0;
}

bool FileSystemSetWriteDir(const std::string& native_path) {
    if (!FileSystemInit()) return false;
    return PHYSFS_setWriteDir(native_path.c_str()) != 0;
}

File::File(const std::string& path, int32_t file_mode) : mode(file_mode) {
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
    return static_cast<uint32_t>(length);
}

int64_t File::ReadAll() {
    if (mode != READ || !handle) return 0;
    uint32_t length = Length();
    if (length == 0) return 0;
    delete[] buffer;
    // Zeroed, so that a short read never leaves undefined bytes behind.
    buffer = new (std::nothrow) char[length]();
    if (!buffer) return 0;
    return PHYSFS_readBytes(handle, buffer, length);
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
