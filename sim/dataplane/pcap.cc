#include "pcap.hh"

#include <cerrno>
#include <cstring>

namespace vorn_sim {

namespace {

// Each field is copied in the machine's byte order; the header and record
// layouts have no padding to worry about when written field by field.
template <class Field>
unsigned char* put(unsigned char* at, Field value)
{
    std::memcpy(at, &value, sizeof value);
    return at + sizeof value;
}

const std::uint32_t micros_per_second = 1000000;

}  // namespace

bool PcapWriter::open(const std::string& path, std::string& error)
{
    close();
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = "cannot write capture file " + path + ": " + std::strerror(errno);
        return false;
    }
    unsigned char header[24];
    unsigned char* at = put(header, magic);
    at = put(at, version_major);
    at = put(at, version_minor);
    at = put(at, std::int32_t(0));   // time zone: timestamps are the card's clock
    at = put(at, std::uint32_t(0));  // timestamp accuracy
    at = put(at, snaplen);
    put(at, linktype_ethernet);
    if (std::fwrite(header, sizeof header, 1, file) != 1) {
        error = "cannot write capture file " + path + ": " + std::strerror(errno);
        std::fclose(file);
        return false;
    }
    file_ = file;
    return true;
}

void PcapWriter::write(const unsigned char* frame, std::size_t size, std::uint32_t seconds, std::uint32_t micros)
{
    if (!file_) return;
    const std::uint32_t kept = size < snaplen ? static_cast<std::uint32_t>(size) : snaplen;
    const std::uint32_t original = size < 0xffffffffu ? static_cast<std::uint32_t>(size) : 0xffffffffu;
    unsigned char record[16];
    unsigned char* at = put(record, seconds + micros / micros_per_second);
    at = put(at, micros % micros_per_second);
    at = put(at, kept);
    put(at, original);
    std::fwrite(record, sizeof record, 1, file_);
    std::fwrite(frame, 1, kept, file_);
}

void PcapWriter::close()
{
    if (!file_) return;
    std::fclose(file_);
    file_ = nullptr;
}

}  // namespace vorn_sim
