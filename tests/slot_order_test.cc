// The SDK class keeps every operation at the position the slot table
// (meta/sdk_slots.def) gives it.  Positions are read from member-function
// pointers: under the Itanium C++ ABI a pointer to a virtual member holds
// 1 + the byte offset of its entry in the table of virtual functions.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "vorn_sdk.hh"

namespace {

struct MemberPointerBits {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
};

template <class Method>
long table_position(Method method)
{
    static_assert(sizeof(Method) == sizeof(MemberPointerBits), "Itanium member pointer");
    MemberPointerBits bits;
    std::memcpy(&bits, &method, sizeof bits);
    if ((bits.pointer & 1) == 0) return -1;  // not virtual
    return static_cast<long>((bits.pointer - 1) / sizeof(void*));
}

struct Slot {
    int slot;
    const char* name;
    long position;
};

const std::vector<Slot> slots = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) {slot, #name, table_position(&VornSdkBase::name)},
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

TEST(SdkSlotOrder, EveryOperationSitsAtItsSlot)
{
    for (const Slot& slot : slots) EXPECT_EQ(slot.position, slot.slot) << slot.name;
}

TEST(SdkSlotOrder, TableCoversSlots0To178OnceEach)
{
    ASSERT_EQ(slots.size(), 179u);
    std::set<long> positions;
    for (const Slot& slot : slots) positions.insert(slot.position);
    EXPECT_EQ(positions.size(), 179u);
    EXPECT_EQ(*positions.begin(), 0);
    EXPECT_EQ(*positions.rbegin(), 178);
}

}  // namespace
