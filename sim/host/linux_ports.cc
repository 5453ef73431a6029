// Ports bound to Linux interfaces, and the loop that serves them: frames
// from the interfaces through the pipeline, their links to the ports, the
// card's clock to real time.  The model's data plane owns each back end; the
// list here only watches them, so a reset or a terminated card closes their
// descriptors (and a TAP vanishes) with the model.
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "host.hh"
#include "linux_port.hh"

namespace vorn_sim {

namespace {

using vorn_ports::LinuxPort;
typedef std::chrono::steady_clock Clock;

struct Attachment {
    Usp port;
    Mp mp;
    std::weak_ptr<LinuxPort> backend;
};

struct Attachments {
    std::vector<Attachment> list;
    unsigned long generation = 0;  // counts changes of the list, for the serve loop
};

Attachments& attachments()
{
    static Attachments instance;
    return instance;
}

// Forgets the ports whose back ends went with a card that is gone.
void prune()
{
    std::vector<Attachment>& list = attachments().list;
    const auto gone = std::remove_if(list.begin(), list.end(), [](const Attachment& a) { return a.backend.expired(); });
    if (gone != list.end()) ++attachments().generation;
    list.erase(gone, list.end());
}

std::vector<Attachment>::iterator attachment_of(const Usp& port)
{
    prune();
    std::vector<Attachment>& list = attachments().list;
    return std::find_if(list.begin(), list.end(), [&](const Attachment& a) { return a.port == port; });
}

// Binds `port` to the back end `open` makes, once nothing stands in the way;
// the port's link is then the interface's.
template <class Open>
bool attach(const char* action, const Usp& port, Open open)
{
    SwitchModel* model = card(action);
    Mp mp;
    if (!model || !mapped(action, port, mp)) return false;
    const auto existing = attachment_of(port);
    if (existing != attachments().list.end())
        return refuse(action, "port ", port, " is already attached to ", existing->backend.lock()->description());
    std::string error;
    const std::shared_ptr<LinuxPort> backend = open(error);
    if (!backend) return refuse(action, error);
    if (!model->set_port_backend(mp, port, backend)) return false;
    // The admin state just set may have brought the interface up.
    backend->link().refresh();
    attachments().list.push_back(Attachment{port, mp, backend});
    ++attachments().generation;
    return model->cable(mp, port, backend->link().up());
}

// --- Stopping: a flag, and an eventfd that wakes poll(); both safe to touch
// from a signal handler.
std::atomic<bool> stop_asked(false);
std::atomic<int> wake_fd(-1);
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "stop_serving() runs in signal handlers");

void drain_wake()
{
    std::uint64_t count = 0;
    const int fd = wake_fd.load();
    if (fd >= 0) (void)!::read(fd, &count, sizeof count);
}

void (*round_hook)(void*) = nullptr;
void* round_context = nullptr;

// What one serve() polls, rebuilt when the list of ports or the card
// changes; its arrays are reused from call to call.
struct Served {
    Usp port;
    Mp mp;
    std::shared_ptr<LinuxPort> backend;
};

class ServeLoop {
public:
    // Lets go of the back ends when it returns, so that a port detached or
    // a card reset after it closes them at once.
    bool run(double seconds)
    {
        if (serving_) return refuse("serve", "already serving (serve() called from a callback of serve())");
        serving_ = true;
        const bool result = loop(seconds);
        ports_.clear();
        serving_ = false;
        return result;
    }

private:
    bool loop(double seconds);
    void rebuild();
    void tick();
    int timeout_ms(Clock::time_point deadline, bool forever) const;
    void handle(std::size_t index, short frame_events, short link_events);

    std::vector<Served> ports_;
    std::vector<struct pollfd> fds_;  // the wake fd, then a frame fd and a link fd per port
    unsigned long generation_ = ~0UL;
    const SwitchModel* model_ = nullptr;
    Clock::time_point last_;
    Clock::duration carry_ = Clock::duration::zero();  // time not yet on the card's clock
    bool serving_ = false;
};

void ServeLoop::rebuild()
{
    ports_.clear();
    prune();
    for (const Attachment& a : attachments().list)
        if (std::shared_ptr<LinuxPort> backend = a.backend.lock()) ports_.push_back(Served{a.port, a.mp, backend});
    fds_.assign(1 + 2 * ports_.size(), pollfd{-1, POLLIN, 0});
    fds_[0].fd = wake_fd.load();
    generation_ = attachments().generation;
    model_ = host().model.get();
}

// The card's clock moves in whole seconds; the rest is carried to the next
// tick, across calls of serve().
void ServeLoop::tick()
{
    const Clock::time_point now = Clock::now();
    carry_ += now - last_;
    last_ = now;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(carry_);
    if (seconds.count() <= 0) return;
    carry_ -= seconds;
    advance_clock(static_cast<unsigned int>(seconds.count()));
}

// Until the deadline or the clock's next second, whichever comes first;
// rounded up, so that poll() never wakes just short of it.
int ServeLoop::timeout_ms(Clock::time_point deadline, bool forever) const
{
    Clock::duration wait = std::chrono::seconds(1) - carry_;
    if (!forever) wait = std::min(wait, deadline - Clock::now());
    if (wait <= Clock::duration::zero()) return 0;
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(wait).count());
}

// A callback may take the card down (terminate) at any frame: nothing is
// asked of a model that is gone.
void ServeLoop::handle(std::size_t index, short frame_events, short link_events)
{
    SwitchModel* model = host().model.get();
    const auto card_stays = [model] { return host().model.get() == model; };
    Served& s = ports_[index];
    if (link_events && s.backend->link().read_changes()) model->cable(s.mp, s.port, s.backend->link().up());
    if (!frame_events || !card_stays()) return;
    const vorn_ports::Burst& burst = s.backend->receive();
    model->hold_transmit();
    for (std::size_t i = 0; i < burst.count && card_stays(); ++i)
        model->inject(s.mp, s.port, burst.data[i], burst.size[i], true, nullptr);
    if (card_stays()) model->release_transmit();
}

bool ServeLoop::loop(double seconds)
{
    if (wake_fd.load() < 0) wake_fd.store(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const bool forever = seconds == 0;
    const Clock::time_point deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(forever ? 0 : seconds));
    last_ = Clock::now();
    generation_ = ~0UL;
    for (;;) {
        if (stop_asked.exchange(false)) {
            drain_wake();
            return false;
        }
        if (!host().model) return refuse("serve", "the line card went down while serving");
        if (generation_ != attachments().generation || model_ != host().model.get()) rebuild();
        tick();
        if (!forever && Clock::now() >= deadline) return true;
        for (std::size_t i = 0; i < ports_.size(); ++i) {
            fds_[1 + 2 * i].fd = ports_[i].backend->frame_fd();
            fds_[2 + 2 * i].fd = ports_[i].backend->link().fd();
        }
        const int ready = ::poll(fds_.data(), fds_.size(), timeout_ms(deadline, forever));
        if (ready < 0 && errno != EINTR) return refuse("serve", "poll: ", std::strerror(errno));
        if (ready > 0 && fds_[0].revents) drain_wake();
        for (std::size_t i = 0; ready > 0 && i < ports_.size() && host().model.get() == model_; ++i)
            handle(i, fds_[1 + 2 * i].revents, fds_[2 + 2 * i].revents);
        if (round_hook) round_hook(round_context);
    }
}

ServeLoop& serve_loop()
{
    static ServeLoop loop;
    return loop;
}

}  // namespace

bool attach_tap(const Usp& port, const std::string& name, const std::string& netns)
{
    return attach("attach_tap", port,
                  [&](std::string& error) { return vorn_ports::open_tap(name, netns, error); });
}

bool attach_device(const Usp& port, const std::string& name)
{
    return attach("attach_device", port, [&](std::string& error) -> std::shared_ptr<LinuxPort> {
        prune();
        for (const Attachment& a : attachments().list)
            if (a.backend.lock()->description() == "dev " + name) {
                error = "dev " + name + " is already attached to port " + vorn_format::phrase(a.port);
                return nullptr;
            }
        return vorn_ports::open_device(name, error);
    });
}

bool detach(const Usp& port)
{
    const char* const action = "detach";
    SwitchModel* model = card(action);
    Mp mp;
    if (!model || !mapped(action, port, mp)) return false;
    const auto found = attachment_of(port);
    if (found == attachments().list.end()) return refuse(action, "port ", port, " is not attached to an interface");
    attachments().list.erase(found);
    ++attachments().generation;
    return model->set_port_backend(mp, port, nullptr) && model->cable(mp, port, true);
}

std::vector<std::pair<Usp, std::string>> attached()
{
    prune();
    std::vector<std::pair<Usp, std::string>> list;
    for (const Attachment& a : attachments().list) list.emplace_back(a.port, a.backend.lock()->description());
    std::sort(list.begin(), list.end());
    return list;
}

bool serve(double seconds)
{
    if (!(seconds >= 0) || std::isinf(seconds))
        return refuse("serve", "expected a number of seconds, 0 or more (0: until stopped), got ", seconds);
    return card("serve") && serve_loop().run(seconds);
}

void stop_serving()
{
    const int saved = errno;
    stop_asked.store(true);
    const std::uint64_t one = 1;
    const int fd = wake_fd.load();
    if (fd >= 0) (void)!::write(fd, &one, sizeof one);
    errno = saved;
}

void on_serve_round(void (*hook)(void* context), void* context)
{
    round_hook = hook;
    round_context = context;
}

}  // namespace vorn_sim
