#include "services/autoresponse/check.h"
#include "services/autoresponse/usage_meter.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

#include <unistd.h>

// Checks of the network: whether somebody answers, the state of a link, how much data came.

namespace zandorin::responder {

namespace {

using namespace std::chrono_literals;

std::chrono::seconds atLeastOne(int seconds, int otherwise) {
    return std::chrono::seconds(seconds > 0 ? seconds : otherwise);
}

/// ping(8), which may do what this service needs no right for.
class Ping : public Check {
  public:
    Ping(Sources &sources, const std::string &key)
        : address_(sources.settings.get(key + ".net.ping.address")),
          device_(
              networkDevice(sources.settings, sources.settings.get(key + ".net.ping.interface"))),
          interval_(atLeastOne(sources.settings.number(key + ".net.ping.frequency"), 60)),
          count_(std::clamp(sources.settings.number(key + ".net.ping.num_packets", 3), 1, 20)) {}

    std::chrono::seconds interval() const override { return interval_; }
    Command command() const override {
        const std::string count = std::to_string(count_);
        const int limit = count_ + 2;
        Command ping{.words = {"ping", "-n", "-q", "-c", count, "-w", std::to_string(limit)},
                     .limit = std::chrono::seconds(limit + 5)}; // a name has to be resolved first
        if (!device_.empty())
            ping.words.insert(ping.words.end(), {"-I", device_});
        ping.words.insert(ping.words.end(), {"--", address_});
        return ping;
    }
    Readings judge(const Ended &ended) override {
        // 0: somebody answered; 1: nobody did; anything else: it could not be tried.
        if (ended.status != 0 && ended.status != 1)
            return {failed(ended.words, address_)};
        const bool isSilent = ended.status == 1;
        return {yesOrNo(isSilent, {address_, isSilent ? "no answer" : "answers", ""})};
    }

  private:
    std::string address_;
    std::string device_;
    std::chrono::seconds interval_;
    int count_;
};

/// The state of an interface, by what the kernel says of its link.
class Connection : public Check {
  public:
    Connection(Sources &sources, const std::string &key)
        : role_(interfaceRole(sources.settings.get(key + ".conman.ref"))),
          device_(networkDevice(sources.settings, role_)) {
        for (const char *event : {"starting", "up", "stopping", "down", "failed"})
            if (sources.settings.isOn(key + ".conman.input_event_" + event))
                events_.emplace_back(event);
    }

    std::chrono::seconds interval() const override { return 2s; }
    Readings look() override {
        if (device_.empty())
            return {failed("no network device is known of the interface", role_)};
        const auto now = std::chrono::steady_clock::now();
        const std::string state = stateAfter(seen_, now);
        const bool isFirst = seen_.empty();
        if (state == seen_)
            return {};
        // What ends in a failure has been going on since it began.
        if (state != "failed")
            since_ = now;
        seen_ = state;
        const bool isMeant = contains(events_, state);
        Reading reading = yesOrNo(false, {role_, state, device_});
        if (!isMeant)
            return {reading};
        if (isFirst) {
            reading.kind = Reading::Kind::nothing;
            return {reading};
        }
        Reading again = reading;
        again.kind = Reading::Kind::yes;
        return {reading, again};
    }

  private:
    std::string stateAfter(const std::string &before,
                           std::chrono::steady_clock::time_point now) const {
        constexpr auto patience = 30s;
        constexpr unsigned enabled = 1; // IFF_UP
        const std::string folder = "/sys/class/net/" + device_;
        const std::string flags = firstLine(folder + "/flags").value_or("0x0");
        unsigned bits = 0;
        if (flags.starts_with("0x"))
            std::from_chars(flags.data() + 2, flags.data() + flags.size(), bits, 16);
        if ((bits & enabled) == 0)
            return "down";
        // Devices without a link of their own do not know.
        const std::string operation = firstLine(folder + "/operstate").value_or("");
        if (operation == "up" || operation == "unknown")
            return "up";
        if (before == "failed" ||
            ((before == "starting" || before == "stopping") && now - since_ >= patience))
            return "failed";
        return before == "up" || before == "stopping" ? "stopping" : "starting";
    }

    std::string role_;
    std::string device_;
    std::vector<std::string> events_;
    std::string seen_;
    std::chrono::steady_clock::time_point since_;
};

/// Data of a period against a limit.
class DataUsage : public Check {
  public:
    DataUsage(std::int64_t kilobytes, std::int64_t period, std::int64_t resolve)
        : kilobytes_(kilobytes), period_(period), resolve_(resolve), meter_(period) {}

    std::chrono::seconds interval() const override {
        return std::chrono::seconds(std::clamp<std::int64_t>(meter_.piece(), 5, 60));
    }
    std::string memory() const override { return meter_.memory(); }
    void recall(const std::string &memory) override { meter_.recall(memory); }

  protected:
    Readings taken(std::uint64_t bytes, const std::string &subject) {
        if (kilobytes_ <= 0 || period_ <= 0)
            return {failed("there is no limit or no period", subject)};
        const std::time_t now = std::time(nullptr);
        meter_.count(bytes, now);
        const auto used = static_cast<std::int64_t>(meter_.used() / 1024);
        const bool isOver = used >= kilobytes_;
        if (isOver || below_ > now)
            below_ = now;
        const Occasion what = {
            subject,
            concat({std::to_string(used), " kB in ", std::to_string(period_ / 60), " min"}), ""};
        // Below it, but not for long enough: as it was.
        if (!isOver && below_ != 0 && now - below_ < resolve_)
            return {eventIf(false, what)};
        return {yesOrNo(isOver, what)};
    }

  private:
    std::int64_t kilobytes_;
    std::int64_t period_;  ///< seconds
    std::int64_t resolve_; ///< seconds
    std::int64_t below_ = 0;
    UsageMeter meter_;
};

/// What a modem has sent and received, as the kernel counts it.
class CellularData : public DataUsage {
  public:
    CellularData(Sources &sources, const std::string &key)
        : DataUsage(sum(sources.settings, key + ".celldata.data_", {{"mb", 1024}, {"kb", 1}}),
                    sum(sources.settings, key + ".celldata.period_",
                        {{"d", 86400}, {"h", 3600}, {"m", 60}, {"s", 1}}),
                    0),
          device_(sources.settings.get(key + ".celldata.cell_device")) {}

    Readings look() override {
        const std::string device = device_.empty() ? onlyModem() : device_;
        if (device.empty() || device.find('/') != std::string::npos)
            return {failed("there is not exactly one cellular modem")};
        std::uint64_t bytes = 0;
        for (const char *count : {"rx_bytes", "tx_bytes"}) {
            const auto text = firstLine(concat({"/sys/class/net/", device, "/statistics/", count}));
            if (!text)
                return {failed("there is no such modem", device)};
            bytes += static_cast<std::uint64_t>(std::max<std::int64_t>(leadingNumber(*text), 0));
        }
        return taken(bytes, device);
    }

  private:
    struct Unit {
        const char *name;
        std::int64_t size;
    };
    static std::int64_t sum(const Settings &settings, const std::string &key,
                            std::initializer_list<Unit> units) {
        std::int64_t whole = 0;
        for (const Unit &unit : units)
            whole += unit.size * settings.number(key + unit.name);
        return whole;
    }
    static std::string onlyModem() {
        std::vector<std::string> modems;
        constexpr std::size_t most = 4096;
        for (const std::string &name : namesIn(appliancePath("/sys/class/net"), ""))
            if (readFile(appliancePath("/sys/class/net/" + name + "/uevent"), most)
                    .value_or("")
                    .find("DEVTYPE=wwan\n") != std::string::npos)
                modems.push_back(name);
        return modems.size() == 1 ? modems.front() : "";
    }

    std::string device_;
};

/// What is routed, as a counter of the packet filter, nft(8), counts it; each rule has a table of
/// its own there.
class RoutedData : public DataUsage {
  public:
    RoutedData(Sources &sources, const std::string &key)
        : DataUsage(sources.settings.number(key + ".routeddata.data_kb"),
                    60LL * sources.settings.number(key + ".routeddata.period_m"),
                    60LL * sources.settings.number(key + ".routeddata.resolve_m")),
          table_("inet auto_response_" + std::string(trailingDigits(key))),
          role_(sources.settings.get(key + ".routeddata.interface")), isOwner_(sources.isDaemon),
          isCounting_(!sources.isDaemon) {
        const auto add = [&](std::string_view words, const std::string &value) {
            if (value.empty())
                return;
            isSafe_ = isSafe_ && std::all_of(value.begin(), value.end(), [](char c) {
                          return isAlphanumeric(c) || c == ':' || c == '.' || c == '-' || c == '_';
                      });
            append(match_, {words, " \"", value, "\" "});
        };
        const std::string &address = sources.settings.get(key + ".routeddata.src_ip_addr");
        add("iifname", networkDevice(sources.settings, role_));
        add("ether saddr", sources.settings.get(key + ".routeddata.src_mac_addr"));
        add(address.find(':') == std::string::npos ? "ip saddr" : "ip6 saddr", address);
    }
    ~RoutedData() override {
        if (isCounting_ && isOwner_)
            Child({.words = {"nft", "delete", "table", table_}, .limit = 5s}).wait();
    }

    Command command() const override {
        if (!applianceRoot().empty() || !isSafe_)
            return {.words = {"false"}};
        if (isCounting_)
            return {.words = {"nft", "list", "counter", table_, "used"}};
        return {.words = {"nft", "-f", "-"},
                .input = concat({"add table ", table_, "\ndelete table ", table_, "\nadd table ",
                                 table_, "\nadd counter ", table_, " used\nadd chain ", table_,
                                 " forward { type filter hook forward priority -150; }\nadd rule ",
                                 table_, " forward ", match_, "counter name used\nlist counter ",
                                 table_, " used\n"})};
    }
    Readings judge(const Ended &ended) override {
        if (!applianceRoot().empty())
            return {failed("the packet filter belongs to the machine", role_)};
        const auto bytes = ended.output.rfind("bytes ");
        const bool isCounted = ended.status == 0 && bytes != std::string::npos;
        isCounting_ = isCounted || !isOwner_;
        if (!isCounted)
            return {failed(isSafe_ ? ended.words : "an address that is none", role_)};
        const auto count = leadingNumber(std::string_view(ended.output).substr(bytes + 6));
        return taken(static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0)), role_);
    }

  private:
    std::string table_;
    std::string role_;
    std::string match_;
    bool isSafe_ = true;
    bool isOwner_;
    bool isCounting_; ///< the table is there
};

} // namespace

std::span<const CheckType> networkChecks() {
    static constexpr std::array types = {
        CheckType{"net_ping", make<Ping>},
        CheckType{"conman", make<Connection>},
        CheckType{"celldata", make<CellularData>},
        CheckType{"routeddata", make<RoutedData>},
    };
    return types;
}

} // namespace zandorin::responder
