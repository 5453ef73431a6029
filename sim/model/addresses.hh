// The addresses the model keeps as values.
#ifndef VORN_SIM_ADDRESSES_HH
#define VORN_SIM_ADDRESSES_HH

#include <array>

namespace vorn_sim {

typedef std::array<unsigned char, 6> MacAddress;
typedef std::array<unsigned char, 16> Ipv6Address;

}  // namespace vorn_sim

#endif
