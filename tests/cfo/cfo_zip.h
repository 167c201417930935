#pragma once
// ZIP archives made by the tests themselves, with zlib: members deflated or stored, a
// member of any length of zero bytes that costs little to make, and every field at hand so
// that a test can damage exactly the piece it means to.

#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace cfotest {

struct ZipMember {
    std::string name;
    std::string data;           // what the archive holds for it (deflated unless stored)
    uint32_t crc = 0;           // the checksum the archive records
    uint64_t size = 0;          // the length the archive records
    uint16_t method = 8;        // 8 deflated, 0 stored
    uint16_t made_by = 0x0314;  // Unix, version 2.0
    uint32_t unix_mode = 0100644;
};

// Raw deflate of `data` from a fresh stream, ended with `flush` (Z_FINISH closes the
// stream; Z_FULL_FLUSH leaves it open at a byte boundary with nothing to look back to).
inline std::string RawDeflate(const std::string& data, int flush = Z_FINISH) {
    z_stream z{};
    deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, data.size()) + 64, '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, flush);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

inline uint32_t ZlibCrc(const std::string& data, uint32_t crc = 0) {
    return static_cast<uint32_t>(
        crc32(crc, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size())));
}

inline ZipMember Deflated(const std::string& name, const std::string& data) {
    return ZipMember{name, RawDeflate(data), ZlibCrc(data), data.size()};
}

inline ZipMember Stored(const std::string& name, const std::string& data) {
    ZipMember m{name, data, ZlibCrc(data), data.size()};
    m.method = 0;
    return m;
}

// `size` zero bytes, deflated in a few hundred bytes per MiB: one MiB is deflated once
// and its self-contained blocks repeated, then the rest closes the stream.
inline ZipMember Zeros(const std::string& name, uint64_t size) {
    const uint64_t chunk = 1 << 20;
    const std::string block = RawDeflate(std::string(chunk, '\0'), Z_FULL_FLUSH);
    const uint32_t block_crc = ZlibCrc(std::string(chunk, '\0'));
    ZipMember m{name, "", 0, size};
    for (uint64_t done = 0; done + chunk <= size; done += chunk) {
        m.data += block;
        m.crc = static_cast<uint32_t>(crc32_combine(m.crc, block_crc, chunk));
    }
    const std::string rest(size % chunk, '\0');
    m.data += RawDeflate(rest);
    m.crc = static_cast<uint32_t>(crc32_combine(m.crc, ZlibCrc(rest), rest.size()));
    return m;
}

struct ZipOptions {
    std::string prefix;  // bytes before the archive, as in a self-extracting one
    bool zip64 = false;  // close with ZIP64 end records (the classic one saying "see ZIP64")
};

inline void Put16(std::string& out, uint32_t v) {
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>((v >> 8) & 0xFF);
}
inline void Put32(std::string& out, uint32_t v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}
inline void Put64(std::string& out, uint64_t v) {
    Put32(out, static_cast<uint32_t>(v));
    Put32(out, static_cast<uint32_t>(v >> 32));
}

inline std::string Zip(const std::vector<ZipMember>& members, const ZipOptions& options = {}) {
    std::string out = options.prefix;
    std::string dir;
    for (const ZipMember& m : members) {
        const uint32_t offset = static_cast<uint32_t>(out.size() - options.prefix.size());
        for (std::string* s : {&out, &dir}) {
            const bool central = s == &dir;
            Put32(*s, central ? 0x02014b50 : 0x04034b50);
            if (central) Put16(*s, m.made_by);
            Put16(*s, 20);  // version needed
            Put16(*s, 0);   // flags
            Put16(*s, m.method);
            Put16(*s, 0);     // time
            Put16(*s, 0x21);  // date: 1980-01-01
            Put32(*s, m.crc);
            Put32(*s, static_cast<uint32_t>(m.data.size()));
            Put32(*s, static_cast<uint32_t>(m.size));
            Put16(*s, static_cast<uint32_t>(m.name.size()));
            Put16(*s, 0);  // extra
            if (central) {
                Put16(*s, 0);  // comment
                Put16(*s, 0);  // disk
                Put16(*s, 0);  // internal attributes
                Put32(*s, m.unix_mode << 16);
                Put32(*s, offset);
            }
            *s += m.name;
        }
        out += m.data;
    }
    const uint64_t dir_offset = out.size() - options.prefix.size();
    out += dir;
    const uint64_t end64_offset = out.size() - options.prefix.size();
    if (options.zip64) {
        Put32(out, 0x06064b50);
        Put64(out, 44);  // size of the rest of the record
        Put16(out, 0x0314);
        Put16(out, 45);
        Put32(out, 0);
        Put32(out, 0);
        Put64(out, members.size());
        Put64(out, members.size());
        Put64(out, dir.size());
        Put64(out, dir_offset);
        Put32(out, 0x07064b50);
        Put32(out, 0);
        Put64(out, end64_offset);
        Put32(out, 1);
    }
    Put32(out, 0x06054b50);
    Put16(out, 0);
    Put16(out, 0);
    Put16(out, options.zip64 ? 0xFFFF : static_cast<uint32_t>(members.size()));
    Put16(out, options.zip64 ? 0xFFFF : static_cast<uint32_t>(members.size()));
    Put32(out, options.zip64 ? 0xFFFFFFFF : static_cast<uint32_t>(dir.size()));
    Put32(out, options.zip64 ? 0xFFFFFFFF : static_cast<uint32_t>(dir_offset));
    Put16(out, 0);
    return out;
}

}  // namespace cfotest
