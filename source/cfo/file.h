#pragma once
// File: the one way the engine reads and writes data files. It wraps a PhysFS handle, so
// every path is a path on the virtual search path ("data/" and whatever archives a level
// mounts), never a native path.
//
// Ownership: a File owns its PhysFS handle and the buffer ReadAll() fills; both go away
// with the object. The first File of the process (or the first call of FileSystemInit)
// starts PhysFS once; whether that worked is kept for the rest of the process.

#include <cstdint>
#include <string>

struct PHYSFS_File;

// Starts PhysFS on first use and reports, then and afterwards, whether it is running.
// The start-up calls it before mounting "data/"; every File constructor calls it too.
bool FileSystemInit();

// Adds a native folder or archive to the search path (appended after what is there).
bool FileSystemMount(const std::string& native_path, const std::string& mount_point = "/");

// Sets the native folder that writes go to. Without one, a File opened for writing has
// no handle and writes nothing.
bool FileSystemSetWriteDir(const std::string& native_path);

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

    // The file's length cut to 32 bits; 0 without a handle or when PhysFS cannot tell.
    uint32_t Length();

    // Reads the whole file into the owned buffer (not terminated: use Length()). Returns
    // the byte count the read reported, which may be -1 or short; 0 when there is nothing
    // to read or the file is not open for reading.
    int64_t ReadAll();
    const char* Data() const { return buffer; }

    // Reads or writes `count` objects of `size` bytes; the result is the number of whole
    // objects moved, 0 on failure.
    int64_t Read(void* dest, uint32_t size, uint32_t count);
    int64_t Write(const void* source, uint32_t size, uint32_t count);

private:
    int32_t mode;
    PHYSFS_File* handle = nullptr;
    char* buffer = nullptr;  // owned, filled by ReadAll
};
