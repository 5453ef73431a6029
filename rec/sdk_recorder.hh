// The SDK decorator: an SDK object that records every operation the library
// asks of the host's real one, for hosts that can hand the library an
// object of their own choosing; nothing is preloaded.
//
// Each operation is one call record named "sdk.<operation>" (its index in
// entry_shapes(): after the C++ and the C entry points, by slot number):
// the inputs are put before the operation runs, then the inner object does
// the work, then the result and, when it succeeded, the outputs are
// written.  The recording is the process's one recorder (rec/recorder.hh):
// nothing is written while it is off, and an operation that runs inside a
// recorded library call (libvornrec preloaded as well) is left to that call,
// as any nested call is.  The operation's answer is always the inner one's.
//
// A host wraps its SDK object in its accessor:
//
//   bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
//   {
//       VornSdkBase* real = my_sdk_object();   // the host's own
//       if (!real) return false;
//       static vorn_rec::RecordingSdk recording(*real);
//       sdk = &recording;
//       return true;
//   }
//
// and starts and stops recording with vornrec_start(path) / vornrec_stop()
// (or vorn_rec::recorder().start()).  The decorator must not outlive the
// object it wraps; a host that replaces its SDK object wraps the new one.
// Callbacks the library registers are handed on as they are: the events
// they report are not recorded by the decorator.
#ifndef VORN_REC_SDK_RECORDER_HH
#define VORN_REC_SDK_RECORDER_HH

#include <list>
#include <string>

#include "vorn_sdk.hh"

namespace vorn_rec {

class RecordingSdk : public VornSdkBase {
public:
    explicit RecordingSdk(VornSdkBase& inner) : inner_(inner) {}
    RecordingSdk(const RecordingSdk&) = delete;
    RecordingSdk& operator=(const RecordingSdk&) = delete;

    VornSdkBase& inner() const { return inner_; }

#define VORN_SDK_SLOT(slot, name, params, args, kinds) bool name params override;
#include "sdk_slots.def"
#undef VORN_SDK_SLOT

private:
    VornSdkBase& inner_;
};

}  // namespace vorn_rec

#endif
