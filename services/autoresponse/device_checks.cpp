#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_settings.h"
#include "services/autoresponse/check.h"
#include "services/autoresponse/ups.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <array>
#include <charconv>

// Checks of devices: digital inputs, sensors, uninterruptible power supplies.

namespace zandorin::responder {

namespace {

using namespace std::chrono_literals;

constexpr auto ups_interval = 5s;

/// What the key of a port, or one below it, is about.
struct PortKey {
    PortKey(const Sources &sources, const std::string &key) : number(portNumber(key)) {
        if (number == 0)
            return;
        const auto end = key.find('.', portReference(number).size());
        rest = end == std::string::npos ? "" : key.substr(end);
        label = portLabel(sources.settings, number);
    }
    unsigned number;
    std::string rest = "";
    std::string label = "";
};

std::optional<double> numberIn(const std::optional<std::string> &text) {
    double number = 0;
    if (!text ||
        std::from_chars(text->data(), text->data() + text->size(), number).ec != std::errc())
        return std::nullopt;
    return number;
}

std::string shown(double number, const char *unit) {
    std::array<char, 32> text = {};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 1);
    return std::string(text.data(), end.ptr) + unit;
}

/// A line of the kernel's GPIO that its driver, or the board's start script, has exported under the
/// pin's name.
class DigitalInput : public Check {
  public:
    DigitalInput(Sources &sources, const std::string &key)
        : pin_(sources.settings.get(key + ".alarm.dev")),
          onChange_(sources.settings.isOn(key + ".alarm.trigger_on_change")),
          level_(sources.settings.get(key + ".alarm.trigger_value") == "1") {}

    std::chrono::seconds interval() const override { return 1s; }
    Readings look() override {
        const auto text = pin_.empty() || pin_.find('/') != std::string::npos
                              ? std::nullopt
                              : firstLine("/sys/class/gpio/" + pin_ + "/value");
        if (text != "0" && text != "1")
            return {failed("there is no such input below /sys/class/gpio", pin_)};
        const bool isOn = text == "1";
        const Occasion what = {pin_, isOn ? "on" : "off", ""};
        const bool hasChanged = seen_ && *seen_ != isOn;
        seen_ = isOn;
        return {onChange_ ? eventIf(hasChanged, what) : yesOrNo(isOn == level_, what)};
    }

  private:
    std::string pin_;
    bool onChange_;
    bool level_;
    std::optional<bool> seen_;
};

/// A sensor that the kernel has (hwmon or IIO, Documentation/ABI) and whose label is the port's
/// name, "port3".
class Sensor : public Check {
  public:
    Sensor(Sources &sources, const std::string &key)
        : port_(sources, sources.settings.get(key + ".enviro.dev_ref")) {}

    std::chrono::seconds interval() const override { return 10s; }
    Readings look() override {
        const bool isHumidity = port_.rest == ".enviro.humid";
        const std::string subject = port_.label + (isHumidity ? ": humidity" : ": temperature");
        const auto number = read(isHumidity);
        if (!number)
            return {
                failed("no sensor of the kernel is labelled " + portName(port_.number), subject)};
        return {{.kind = Reading::Kind::number,
                 .what = {subject,
                          shown(*number, isHumidity ? " %"
                                                    : " \xb0"
                                                      "C"),
                          ""},
                 .number = *number}};
    }

  private:
    std::optional<double> read(bool isHumidity) const {
        constexpr double thousandths = 1000;
        for (const char *kind : {"/sys/class/hwmon", "/sys/bus/iio/devices"})
            for (const std::string &name : namesIn(appliancePath(kind), "")) {
                const std::string device = concat({kind, "/", name, "/"});
                if (firstLine(device + "label") != portName(port_.number))
                    continue;
                const std::string channel = isHumidity ? "in_humidityrelative" : "in_temp";
                for (const std::string &input :
                     {device + (isHumidity ? "humidity1_input" : "temp1_input"),
                      device + channel + "_input"})
                    if (const auto number = numberIn(firstLine(input)))
                        return *number / thousandths;
                const auto raw = numberIn(firstLine(device + channel + "_raw"));
                const auto scale = numberIn(firstLine(device + channel + "_scale"));
                const double offset = numberIn(firstLine(device + channel + "_offset")).value_or(0);
                if (raw && scale)
                    return (*raw + offset) * *scale / thousandths;
            }
        return std::nullopt;
    }

    PortKey port_;
};

class UpsCharge : public Check {
  public:
    UpsCharge(Sources &sources, const std::string &key)
        : port_(sources, sources.settings.get(key + ".power.dev_ref")) {}

    std::chrono::seconds interval() const override { return ups_interval; }
    Readings look() override {
        const UpsAnswer answer = askUps(portName(port_.number), "battery.charge");
        const auto charge = numberIn(answer.value);
        if (!charge)
            return {failed(answer.problem.empty() ? "no charge is known" : answer.problem,
                           port_.label)};
        return {{.kind = Reading::Kind::number,
                 .what = {port_.label, "charge " + shown(*charge, " %"), ""},
                 .number = *charge}};
    }

  private:
    PortKey port_;
};

class UpsStatus : public Check {
  public:
    UpsStatus(Sources &sources, const std::string &key)
        : port_(sources, sources.settings.get(key + ".ups_status.dev_ref")),
          condition_(sources.settings.get(key + ".ups_status.trigger_condition")) {}

    std::chrono::seconds interval() const override { return ups_interval; }
    Readings look() override {
        struct Word {
            std::string_view condition;
            std::string_view flag; ///< of ups.status, NUT's network protocol
        };
        static constexpr std::array words = {
            Word{"on_battery", "OB"}, Word{"low_battery", "LB"},     Word{"online", "OL"},
            Word{"overload", "OVER"}, Word{"replace_battery", "RB"},
        };
        const UpsAnswer answer = askUps(portName(port_.number), "ups.status");
        const bool isAboutAnswer = condition_ == "unreachable";
        if (!answer.value)
            return {isAboutAnswer ? yesOrNo(true, {port_.label, answer.problem, ""})
                                  : failed(answer.problem, port_.label)};
        const auto flags = utilities::split(*answer.value, " ");
        bool isSo = false;
        for (const Word &word : words)
            isSo = isSo || (word.condition == condition_ && contains(flags, word.flag));
        const Occasion what = {port_.label, *answer.value, ""};
        // "Mains power is back" is a return, not that it is there.
        const bool wasOnline = std::exchange(isOnline_, contains(flags, "OL"));
        if (condition_ == "online")
            isSo = isSo && (hasReturned_ = hasReturned_ || (isKnown_ && !wasOnline));
        hasReturned_ = hasReturned_ && isOnline_;
        isKnown_ = true;
        return {yesOrNo(isSo, what)};
    }

  private:
    PortKey port_;
    std::string condition_;
    bool isKnown_ = false;
    bool isOnline_ = false;
    bool hasReturned_ = false;
};

} // namespace

std::span<const CheckType> deviceChecks() {
    static constexpr std::array types = {
        CheckType{"alarm", make<DigitalInput>},
        CheckType{"environmental", make<Sensor>},
        CheckType{"power", make<UpsCharge>},
        CheckType{"ups_status", make<UpsStatus>},
    };
    return types;
}

} // namespace zandorin::responder
