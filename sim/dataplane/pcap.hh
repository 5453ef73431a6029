// Captures as classic pcap files: version 2.4, Ethernet link type, the
// magic number in the machine's byte order (readers detect the order from
// it), microsecond timestamps.  The card stamps each frame with its own
// clock and a per-capture sequence number as the microseconds, so the same
// traffic always writes the same file.
#ifndef VORN_SIM_PCAP_HH
#define VORN_SIM_PCAP_HH

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace vorn_sim {

class PcapWriter {
public:
    static constexpr std::uint32_t magic = 0xa1b2c3d4u;
    static constexpr std::uint16_t version_major = 2;
    static constexpr std::uint16_t version_minor = 4;
    static constexpr std::uint32_t snaplen = 65535;
    static constexpr std::uint32_t linktype_ethernet = 1;

    PcapWriter() = default;
    PcapWriter(const PcapWriter&) = delete;
    PcapWriter& operator=(const PcapWriter&) = delete;
    ~PcapWriter() { close(); }

    // Creates (or truncates) `path` and writes the file header; a file
    // already open is closed first.  False, with `error` naming the path and
    // why, when it cannot be written.
    bool open(const std::string& path, std::string& error);
    // One record: the frame as it was (no FCS), cut at the snap length.
    // Microseconds past a second carry into the seconds.  Buffered; nothing
    // is allocated.  Does nothing while no file is open.
    void write(const unsigned char* frame, std::size_t size, std::uint32_t seconds, std::uint32_t micros);
    // Flushes and closes the file; nothing happens when none is open.
    void close();
    bool is_open() const { return file_ != nullptr; }

private:
    std::FILE* file_ = nullptr;
};

}  // namespace vorn_sim

#endif
