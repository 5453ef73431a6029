// The recording file: what libvornrec writes and vorn-replay reads.
//
// A file is a header and then records, one per call or event.  Every record
// says its own size, so a reader skips a record type it does not know, and a
// file cut anywhere (the process killed in the middle of a write) reads up to
// its last complete record.  Numbers are written in the byte order of the
// recording machine, which the header names; the reader turns them round, so
// a file recorded on big-endian PowerPC reads on x86-64 and the reverse.
//
// Header (format version 1):
//   magic          8 bytes  "VORNREC\0"
//   version        2 bytes  the format version, most significant byte first
//   byte_order     1 byte   1 little-endian, 2 big-endian: every number after
//                           this point is in this order
//   word_size      1 byte   sizeof(void*) of the recording machine
//   rest_size      u32      bytes of header that follow this field (a newer
//                           writer appends fields; a reader skips what it does
//                           not know)
//   fingerprint    u64      of the interface table the recorder was built
//                           from (interface_fingerprint())
//   start_time     u64      nanoseconds since the Unix epoch when recording
//                           started
//   options        u32      Options bits the recording was made with
//   sequence       u32      0 for the first file, n for the n-th rotation
//   library        u16 size + bytes: the library version ("0.19.0")
//
// Record:
//   size           u32      bytes of the whole record, this field included
//                           (at least record_head_size)
//   type           u8       RecordType
//   flags          u8       by type (RecordFlag)
//   entry          u16      by type: the entry's index in the names record
//                           for a call, the EventKind for an event
//   body           size - 8 bytes
//
// Bodies:
//   names   u16 count, then count times u16 size + bytes: the entries a call
//           record's `entry` indexes, "vorn_get_port_pvid",
//           "ctype_vorn_get_port_pvid" or "sdk.get_port_pvid" (the SDK
//           decorator).  Written once after the header of every file, so a
//           reader maps calls by name, not by the recorder's table.
//   call    u64 time (ns since start_time), u32 duration (ns), i32 result
//           (bool as 0/1 for a C++ entry point), then each argument the
//           entry point reads (in, in_out) in parameter order, then, when the
//           call succeeded (flag outputs), each argument it wrote (out,
//           in_out) in parameter order.  Values as rec/values.hh writes them.
//   event   u64 time, then the callback's arguments (rec/values.hh); flag
//           during_call when the callback ran inside a library call on the
//           same thread (the call caused it), otherwise it came from outside
//           (a cable, a frame).
//   note    u64 time, u16 size + text: what the recorder wants a reader to
//           know ("size cap of 1048576 bytes reached: recording stopped").
//   end     u64 time: the recorder closed the file itself.
#ifndef VORN_REC_FORMAT_HH
#define VORN_REC_FORMAT_HH

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace vorn_rec {

constexpr char file_magic[8] = {'V', 'O', 'R', 'N', 'R', 'E', 'C', '\0'};
constexpr std::uint16_t format_version = 1;
constexpr std::size_t record_head_size = 8;

enum class RecordType : std::uint8_t { names = 1, call = 2, event = 3, note = 4, end = 5 };

namespace RecordFlag {
constexpr std::uint8_t outputs = 1;      // call: the outputs follow the inputs
constexpr std::uint8_t during_call = 1;  // event: raised inside a library call
constexpr std::uint8_t c_callback = 2;   // event: delivered to a C (_c / ctype_) callback
}  // namespace RecordFlag

enum class EventKind : std::uint16_t { link_change = 1, mac_update = 2, rx_packet = 3 };

// What the recording leaves out, in the header's options word.
namespace Options {
constexpr std::uint32_t no_getters = 1;  // entry points named get_* are not recorded
constexpr std::uint32_t no_packets = 2;  // no rx_packet events; packet bytes left out of calls
}  // namespace Options

enum class ByteOrder : std::uint8_t { little = 1, big = 2 };

ByteOrder native_byte_order();

// A fingerprint of the entry-point and slot tables (names, directions and
// kinds, in order): two builds with the same tables give the same value.
std::uint64_t interface_fingerprint();

struct Header {
    std::uint16_t version = format_version;
    ByteOrder byte_order = ByteOrder::little;
    std::uint8_t word_size = 0;
    std::uint64_t fingerprint = 0;
    std::uint64_t start_time = 0;
    std::uint32_t options = 0;
    std::uint32_t sequence = 0;
    std::string library;
};

// --- Writing --------------------------------------------------------------

// Appends records to a buffer and writes the buffer to the file when it
// fills, when flush() is called, and when the last write is more than
// flush_interval old (checked as records are added), so a killed process
// loses little.  Whole records only reach the file.  With a size cap the
// file is rotated: FILE becomes FILE.1 (FILE.1 FILE.2, ...), up to `keep`
// old files, and the new FILE starts with its own header and names record;
// keep 0 stops recording at the cap with a note.  Not thread-safe: the
// recorder serialises.  No heap allocation per record once open.
class Writer {
public:
    struct Settings {
        std::string path;
        std::uint64_t max_bytes = 0;  // 0: no cap
        unsigned int keep = 0;        // old files kept on rotation
        std::uint32_t options = 0;
        std::uint64_t flush_interval_ns = 100000000;  // 100 ms
        std::size_t buffer_bytes = 64 * 1024;
    };

    Writer();
    ~Writer();  // flushes and closes (writes no end record: close() does)
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Opens (truncating) and writes the header and the names record.  False
    // with error() set when the file cannot be opened.
    bool open(const Settings& settings, const std::vector<std::string>& names);
    bool is_open() const;
    const std::string& error() const;

    // One record: begin() starts it, the put_* calls append the body (or
    // rec/values.hh on top of them), commit() finishes it.  `now` is the
    // record's time in ns since start: the writer uses it for the periodic
    // flush.  A record larger than the buffer is written straight through.
    void begin(RecordType type, std::uint8_t flags, std::uint16_t entry);
    void put_u8(std::uint8_t value) { put(&value, sizeof value); }
    void put_u16(std::uint16_t value) { put(&value, sizeof value); }
    void put_u32(std::uint32_t value) { put(&value, sizeof value); }
    void put_u64(std::uint64_t value) { put(&value, sizeof value); }
    void put_bytes(const void* data, std::size_t size) { put(data, size); }
    // Overwrites 4 bytes already put at `offset` from the record's start
    // (a count known only after its items, a result known after the call).
    void patch_u32(std::size_t offset, std::uint32_t value);
    std::size_t record_size() const;  // bytes put so far, head included
    void set_flags(std::uint8_t flags);
    void commit(std::uint64_t now);

    void note(std::uint64_t now, const std::string& text);
    void flush();
    void close(std::uint64_t now);  // end record, flush, close

    std::uint64_t start_time() const;  // ns since the epoch, in the header
    // Bytes of the recording so far, headers included, over every file it
    // rotated through, the buffered ones included.
    std::uint64_t bytes_written() const;

private:
    struct State;

    // The record being composed is appended in place while it fits in the
    // buffer: one bounds check and a copy per value, inline.  Everything
    // else (room, spill, rotation) is the slow path's.
    void put(const void* data, std::size_t size)
    {
        if (size != 0 && size <= static_cast<std::size_t>(window_end_ - window_at_)) {
            std::memcpy(window_at_, data, size);
            window_at_ += size;
        } else {
            put_slow(data, size);
        }
    }
    void put_slow(const void* data, std::size_t size);
    void sync_window();    // the state's record size from the window
    void reopen_window();  // the window from the state

    State* state_;
    unsigned char* window_at_ = nullptr;
    unsigned char* window_end_ = nullptr;
};

// --- Reading --------------------------------------------------------------

// Reads values in the file's byte order from one record's body.  Reading
// past the body sets failed() and gives zeros, never reads out of bounds.
class Cursor {
public:
    Cursor() = default;
    Cursor(const unsigned char* data, std::size_t size, bool swap)
        : data_(data), size_(size), swap_(swap) {}

    std::uint8_t u8();
    std::uint16_t u16();
    std::uint32_t u32();
    std::uint64_t u64();
    // Copies `size` bytes; false (and failed()) when fewer are left.
    bool bytes(void* out, std::size_t size);
    // Passes over `size` bytes; false (and failed()) when fewer are left.
    bool skip(std::size_t size);
    const unsigned char* here() const { return data_ + at_; }
    std::size_t left() const { return size_ - at_; }
    std::size_t offset() const { return at_; }
    bool failed() const { return failed_; }
    bool swapped() const { return swap_; }

private:
    const unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t at_ = 0;
    bool swap_ = false;
    bool failed_ = false;
};

struct Record {
    std::size_t index = 0;   // 0 for the first record after the header
    std::size_t offset = 0;  // of its first byte in the file
    RecordType type = RecordType::note;
    std::uint8_t flags = 0;
    std::uint16_t entry = 0;
    Cursor body;             // after the head
};

// Reads a whole file held in memory.  open() checks the header: false with
// error() for a file that is not a recording, a format version newer than
// this reader, or a header cut short (exit 2 in vorn-replay); the names
// record it reads is record 0.  next() gives the records after it in order,
// skipping types it does not know, the end record included (nothing after
// it is read).  It ends at the end of the data or at the first record that
// does not fit (cut or damaged), and stop_reason() then says where and why:
// "cut at byte 1234 in record 17: 40 bytes of 56" (the record that starts
// at byte 1234 has 40 of its 56 bytes), "damaged at byte 1234 in record 17:
// size 3 is less than 8".  Any bytes, however damaged, are read without
// undefined behaviour.
class Reader {
public:
    bool open(const unsigned char* data, std::size_t size);
    bool open_file(const std::string& path);  // reads the file into memory first
    const std::string& error() const { return error_; }
    const Header& header() const { return header_; }
    const std::vector<std::string>& names() const { return names_; }  // from the names record
    bool swapped() const { return swap_; }

    bool next(Record& record);
    bool clean_end() const { return clean_end_; }  // reached an end record or the data's end exactly
    const std::string& stop_reason() const { return stop_reason_; }  // "" when it ended cleanly
    std::size_t skipped() const { return skipped_; }  // records of unknown type

private:
    std::vector<unsigned char> owned_;
    const unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t at_ = 0;
    std::size_t index_ = 0;
    bool swap_ = false;
    bool clean_end_ = false;
    std::size_t skipped_ = 0;
    Header header_;
    std::vector<std::string> names_;
    std::string error_;
    std::string stop_reason_;
};

}  // namespace vorn_rec

#endif
