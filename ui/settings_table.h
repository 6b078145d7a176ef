#pragma once

#include "ui/setting.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::ui {

/// The sections of a page as numbers and one run of texts. The program may be loaded anywhere, and
/// every address in its data is set right before main, whichever page is asked for: so the tables
/// of the pages hold none, but for the few that name functions. Made by `packed`.
class SettingsTable {
  public:
    using Text = std::uint16_t; ///< where it begins among the texts
    static constexpr Text no_text = std::numeric_limits<Text>::max();
    static constexpr std::uint8_t no_function = std::numeric_limits<std::uint8_t>::max();
    using Markup = decltype(Setting::markup);
    using Offered = decltype(Section::offered);

    struct PackedChoice {
        Text value, label;
    };
    struct PackedSetting {
        Text label, key, type, help, confirms;
        std::int32_t maxlength;
        std::uint8_t choices; // their number; those of the settings before stand before
        std::uint8_t input;
        std::uint8_t markup;
    };
    struct PackedSection {
        Text title;
        std::uint8_t settings; // as with choices
        std::uint8_t offered;
    };

    std::span<const PackedSection> sections;
    std::span<const PackedSetting> settings;
    std::span<const PackedChoice> choices;
    std::span<const Markup> markups;
    std::span<const Offered> conditions;
    const char *texts;

    /// Calls `begin` with the title of each section that is offered, and `use` with each of its
    /// settings, which lasts as long as the call.
    template <typename Begin, typename Use>
    void forEach(Engine &engine, const Begin &begin, const Use &use) const {
        auto setting = settings.begin();
        auto choice = choices.begin();
        for (const PackedSection &section : sections) {
            const bool isOffered =
                section.offered == no_function || conditions[section.offered](engine);
            if (isOffered)
                begin(text(section.title));
            for (const auto end = setting + section.settings; setting != end; ++setting) {
                if (isOffered)
                    use(unpacked(*setting, {choice, setting->choices}));
                choice += setting->choices;
            }
        }
    }

  private:
    /// A setting whose choices are its own.
    struct Unpacked : Setting {
        std::vector<Choice> ownChoices;
    };

    const char *text(Text at) const { return at == no_text ? nullptr : texts + at; }

    Unpacked unpacked(const PackedSetting &setting, std::span<const PackedChoice> packed) const {
        Unpacked result{
            {.label = text(setting.label),
             .key = text(setting.key),
             .type = text(setting.type),
             .input = static_cast<Input>(setting.input),
             .help = text(setting.help),
             .maxlength = setting.maxlength,
             .confirms = text(setting.confirms),
             .markup = setting.markup == no_function ? nullptr : markups[setting.markup]},
            {}};
        for (const PackedChoice &choice : packed)
            result.ownChoices.push_back({text(choice.value), text(choice.label)});
        result.choices = result.ownChoices;
        return result;
    }
};

/// How much a table holds.
struct SettingsSize {
    std::size_t sections = 0;
    std::size_t settings = 0;
    std::size_t choices = 0;
    std::size_t markups = 0;
    std::size_t conditions = 0;
    std::size_t texts = 1; // bytes; the empty text stands first
};

/// The numbers and texts of a table, packed by the compiler.
template <SettingsSize size> struct PackedSettings {
    std::array<SettingsTable::PackedSection, size.sections> sections = {};
    std::array<SettingsTable::PackedSetting, size.settings> settings = {};
    std::array<SettingsTable::PackedChoice, size.choices> choices = {};
    std::array<char, size.texts> texts = {};

    consteval explicit PackedSettings(std::span<const Section> source) {
        SettingsSize used;
        const auto textOf = [this, &used](const char *text) {
            if (text == nullptr)
                return SettingsTable::no_text;
            if (*text == '\0')
                return SettingsTable::Text{0};
            const auto start = used.texts;
            for (; *text != '\0'; ++text)
                texts[used.texts++] = *text;
            ++used.texts;
            return static_cast<SettingsTable::Text>(start);
        };
        const auto byteOf = [](std::size_t number) {
            return number < SettingsTable::no_function
                       ? static_cast<std::uint8_t>(number)
                       : throw "more than a byte can count"; // does not compile
        };
        const auto functionOf = [&byteOf](bool isThere, std::size_t &count) {
            return isThere ? byteOf(count++) : SettingsTable::no_function;
        };
        for (const Section &section : source) {
            sections[used.sections++] = {textOf(section.title), byteOf(section.settings.size()),
                                         functionOf(section.offered != nullptr, used.conditions)};
            for (const Setting &setting : section.settings) {
                settings[used.settings++] = {
                    .label = textOf(setting.label),
                    .key = textOf(setting.key),
                    .type = textOf(setting.type),
                    .help = textOf(setting.help),
                    .confirms = textOf(setting.confirms),
                    .maxlength = setting.maxlength,
                    .choices = byteOf(setting.choices.size()),
                    .input = static_cast<std::uint8_t>(setting.input),
                    .markup = functionOf(setting.markup != nullptr, used.markups)};
                for (const Choice &choice : setting.choices)
                    choices[used.choices++] = {textOf(choice.value), textOf(choice.label)};
            }
        }
    }
};

consteval SettingsSize sizeOf(std::span<const Section> sections) {
    SettingsSize size;
    const auto addText = [&size](const char *text) {
        if (text != nullptr && *text != '\0')
            size.texts += std::string_view(text).size() + 1;
    };
    for (const Section &section : sections) {
        ++size.sections;
        addText(section.title);
        size.conditions += section.offered != nullptr ? 1U : 0U;
        for (const Setting &setting : section.settings) {
            ++size.settings;
            size.choices += setting.choices.size();
            size.markups += setting.markup != nullptr ? 1U : 0U;
            for (const char *text :
                 {setting.label, setting.key, setting.type, setting.help, setting.confirms})
                addText(text);
            for (const Choice &choice : setting.choices) {
                addText(choice.value);
                addText(choice.label);
            }
        }
    }
    return size;
}

template <std::size_t count>
consteval std::array<SettingsTable::Markup, count> markupsOf(std::span<const Section> sections) {
    std::array<SettingsTable::Markup, count> markups = {};
    std::size_t used = 0;
    for (const Section &section : sections)
        for (const Setting &setting : section.settings)
            if (setting.markup != nullptr)
                markups[used++] = setting.markup;
    return markups;
}

template <std::size_t count>
consteval std::array<SettingsTable::Offered, count>
conditionsOf(std::span<const Section> sections) {
    std::array<SettingsTable::Offered, count> conditions = {};
    std::size_t used = 0;
    for (const Section &section : sections)
        if (section.offered != nullptr)
            conditions[used++] = section.offered;
    return conditions;
}

/// The packed table of an array of sections that lasts as long as the program.
template <const auto &sections> SettingsTable packed() {
    static constexpr SettingsSize size = sizeOf(sections);
    static_assert(size.texts < SettingsTable::no_text, "texts are found by 16 bits");
    static constexpr PackedSettings<size> numbers(sections);
    static constexpr auto markups = markupsOf<size.markups>(sections);
    static constexpr auto conditions = conditionsOf<size.conditions>(sections);
    return {.sections = numbers.sections,
            .settings = numbers.settings,
            .choices = numbers.choices,
            .markups = markups,
            .conditions = conditions,
            .texts = numbers.texts.data()};
}

} // namespace zandorin::ui
