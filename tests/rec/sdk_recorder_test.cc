// The SDK decorator: this program is a host that wraps the reference host's
// SDK object.  The reference host is loaded as a shared library behind the
// program; the program's own vornsdk_get_sdk_instance, which the library
// finds first, hands out a RecordingSdk over the card's object.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "recorder.hh"
#include "sdk_recorder.hh"
#include "sdk_slots.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

using vorn_meta::Slot;
using vorn_meta::slot;

namespace {

std::unique_ptr<vorn_rec::RecordingSdk> wrapper;

using Accessor = bool (*)(VornSdkBase*&);

// The reference host's accessor, behind this program's own.
Accessor card_accessor()
{
    Dl_info self{};
    if (!dladdr(reinterpret_cast<void*>(static_cast<Accessor>(&vornsdk_get_sdk_instance)), &self) ||
        !self.dli_sname)
        return nullptr;
    return reinterpret_cast<Accessor>(dlsym(RTLD_NEXT, self.dli_sname));
}

}  // namespace

// The host's accessor: the card's object, wrapped (anew when the card makes
// a new one).
bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
{
    static const Accessor card = card_accessor();
    VornSdkBase* inner = nullptr;
    if (!card || !card(inner) || !inner) return false;
    if (!wrapper || &wrapper->inner() != inner) wrapper.reset(new vorn_rec::RecordingSdk(*inner));
    sdk = wrapper.get();
    return true;
}

namespace {

Usp port(unsigned int n) { return Usp(1, 1, n); }

// One call record as text: "sdk.set_port_pvid(port=0:3, pvid=10) -> 1 []".
std::string call_text(const vorn_rec::Reader& reader, const vorn_rec::Record& record)
{
    const std::string& name = reader.names().at(record.entry);
    const vorn_rec::EntryShape* shape = vorn_rec::find_entry(name);
    if (!shape) return name + ": not an entry point";
    std::vector<vorn_rec::FieldText> inputs, outputs;
    std::int32_t result = 0;
    std::uint64_t time = 0;
    std::uint32_t duration = 0;
    std::string why;
    if (!vorn_rec::read_call_fields(*shape, record, inputs, outputs, result, time, duration, why))
        return name + ": " + why;
    const auto joined = [](const std::vector<vorn_rec::FieldText>& fields) {
        std::string text;
        for (const vorn_rec::FieldText& field : fields)
            text += (text.empty() ? "" : ", ") + field.name + "=" + field.text;
        return text;
    };
    return name + "(" + joined(inputs) + ") -> " + std::to_string(result) + " [" + joined(outputs) + "]";
}

// Every call record of a file, as text.
std::vector<std::string> calls_in(const std::string& path)
{
    vorn_rec::Reader reader;
    std::vector<std::string> calls;
    if (!reader.open_file(path)) {
        ADD_FAILURE() << path << ": " << reader.error();
        return calls;
    }
    vorn_rec::Record record;
    while (reader.next(record))
        if (record.type == vorn_rec::RecordType::call) calls.push_back(call_text(reader, record));
    EXPECT_TRUE(reader.clean_end()) << reader.stop_reason();
    return calls;
}

class Recording : public testing::Test {
protected:
    void SetUp() override
    {
        path_ = testing::TempDir() + "sdk_recorder_" + std::to_string(getpid()) + ".vrec";
        vorn_sim::reset();
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        ASSERT_TRUE(vorn_create_vlan(10));
        ASSERT_TRUE(vorn_add_ports_to_vlan(10, {}, {port(1), port(2), port(3)}));
    }
    void TearDown() override
    {
        vorn_rec::recorder().stop();
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
        std::remove(path_.c_str());
    }
    void start(std::uint32_t options = 0)
    {
        vorn_rec::Writer::Settings settings;
        settings.path = path_;
        settings.options = options;
        std::string why;
        ASSERT_TRUE(vorn_rec::recorder().start(settings, why)) << why;
    }
    std::vector<std::string> stop()
    {
        vorn_rec::recorder().stop();
        return calls_in(path_);
    }

    std::string path_;
};

TEST_F(Recording, EverySdkOperationOfTheLibraryIsOneRecordInOrder)
{
    start();
    unsigned int pvid = 0;
    ASSERT_TRUE(vorn_set_port_pvid(port(3), 10));
    ASSERT_TRUE(vorn_get_port_pvid(port(3), pvid));
    ASSERT_TRUE(vorn_set_ports_mtu({port(1), port(2), port(3)}, 1500));
    EXPECT_FALSE(vorn_set_port_pvid(port(2), 77));  // no VLAN 77: the card refuses
    EXPECT_EQ(stop(), (std::vector<std::string>{
                          "sdk.set_port_pvid(port=0:3, pvid=10) -> 1 []",
                          "sdk.get_port_pvid(port=0:3) -> 1 [pvid=10]",
                          "sdk.set_port_mtu(port=0:1, mtu=1500) -> 1 []",
                          "sdk.set_port_mtu(port=0:2, mtu=1500) -> 1 []",
                          "sdk.set_port_mtu(port=0:3, mtu=1500) -> 1 []",
                          "sdk.set_port_pvid(port=0:2, pvid=77) -> 0 []",
                      }));
}

TEST_F(Recording, AFailingOperationIsRecordedWithoutOutputs)
{
    vorn_sim::fail_slot(slot(Slot::get_port_pvid));
    vorn_sim::fail_slot(slot(Slot::get_vlan_info));
    start();
    unsigned int pvid = 0;
    std::list<Usp> tagged, untagged;
    EXPECT_FALSE(vorn_get_port_pvid(port(3), pvid));
    EXPECT_FALSE(vorn_get_vlan_info(10, tagged, untagged));
    vorn_sim::clear_faults();
    EXPECT_TRUE(vorn_get_vlan_info(10, tagged, untagged));
    EXPECT_EQ(stop(), (std::vector<std::string>{
                          "sdk.get_port_pvid(port=0:3) -> 0 []",
                          "sdk.get_vlan_info(vlan=10) -> 0 []",
                          "sdk.get_vlan_info(vlan=10) -> 1 [tagged=[], untagged=[0:1,0:2,0:3]]",
                      }));
}

TEST_F(Recording, NothingIsRecordedWhileOffInsideARecordedCallOrALeftOutGetter)
{
    unsigned int pvid = 0;
    ASSERT_TRUE(vorn_set_port_pvid(port(1), 10));  // before the start: not in the file
    start(vorn_rec::Options::no_getters);
    {
        vorn_rec::CallScope library_call;  // as libvornrec's wrapper of a library call
        ASSERT_TRUE(vorn_set_port_pvid(port(2), 10));
    }
    ASSERT_TRUE(vorn_get_port_pvid(port(1), pvid));
    ASSERT_TRUE(vorn_set_port_pvid(port(3), 10));
    EXPECT_EQ(stop(), (std::vector<std::string>{"sdk.set_port_pvid(port=0:3, pvid=10) -> 1 []"}));
    ASSERT_TRUE(vorn_set_port_pvid(port(3), 10));  // after the stop
    EXPECT_EQ(calls_in(path_).size(), 1u);
}

// --- Every slot forwarded ---------------------------------------------------

// An SDK object that counts each operation and answers true for even slots.
class CountingSdk : public VornSdkBase {
public:
    int calls[vorn_meta::slot_count] = {};
    static bool answer(int slot) { return slot % 2 == 0; }

#define VORN_SDK_SLOT(slot, name, params, args, kinds) \
    bool name params override                          \
    {                                                  \
        static_cast<void>(std::forward_as_tuple args); \
        ++calls[slot];                                 \
        return answer(slot);                           \
    }
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

template <class T>
using Bare = std::remove_cv_t<std::remove_reference_t<T>>;

template <class T>
void blank(T&)
{
}
void blank(of_flow_mp_s& flow) { std::memset(&flow.match, 0, sizeof flow.match); }

// Calls operation F of `sdk` with default arguments (null pointers, empty
// lists, zeros).
template <auto F>
struct DefaultCall;

template <class... A, bool (VornSdkBase::*F)(A...)>
struct DefaultCall<F> {
    static bool on(VornSdkBase& sdk)
    {
        std::tuple<Bare<A>...> values{};
        std::apply([](auto&... value) { (blank(value), ...); }, values);
        return std::apply([&](auto&... value) { return (sdk.*F)(value...); }, values);
    }
};

TEST_F(Recording, TheDecoratorForwardsAndRecordsEverySlot)
{
    CountingSdk counting;
    vorn_rec::RecordingSdk decorator(counting);
    const std::vector<bool (*)(VornSdkBase&)> operations = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) &DefaultCall<&VornSdkBase::name>::on,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
    };
    ASSERT_EQ(operations.size(), static_cast<std::size_t>(vorn_meta::slot_count));
    start();
    for (int each = 0; each < vorn_meta::slot_count; ++each) {
        SCOPED_TRACE(vorn_meta::slot_name(static_cast<Slot>(each)));
        EXPECT_EQ(operations[each](decorator), CountingSdk::answer(each));
        int counted = 0;
        for (int other = 0; other < vorn_meta::slot_count; ++other) counted += counting.calls[other];
        EXPECT_EQ(counting.calls[each], 1);
        EXPECT_EQ(counted, each + 1) << "another operation was called";
    }
    const std::vector<std::string> calls = stop();
    ASSERT_EQ(calls.size(), static_cast<std::size_t>(vorn_meta::slot_count));
    for (int each = 0; each < vorn_meta::slot_count; ++each) {
        const std::string name = std::string("sdk.") + vorn_meta::slot_name(static_cast<Slot>(each)) + "(";
        EXPECT_EQ(calls[each].rfind(name, 0), 0u) << calls[each];
        const std::string result = CountingSdk::answer(each) ? ") -> 1 [" : ") -> 0 [";
        EXPECT_NE(calls[each].find(result), std::string::npos) << calls[each];
    }
}

}  // namespace
