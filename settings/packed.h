#pragma once

#include "settings/page.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

// The program may be loaded anywhere, and every address in its data is set right before main,
// whichever page is asked for. So the compiler writes the table of each page as one run of bytes,
// which holds none, and the few functions that it names beside it; the page that is asked for is
// read back from them.

namespace zandorin::settings {

/// Any function that a table names.
union Hook {
    OptionsOf options;
    StatusOf status;
    Condition condition;
    Accepts accepts;
    Rule rule;
    Derive derive;

    constexpr Hook() : options(nullptr) {}
    constexpr Hook(OptionsOf function) : options(function) {}
    constexpr Hook(StatusOf function) : status(function) {}
    constexpr Hook(Condition function) : condition(function) {}
    constexpr Hook(Accepts function) : accepts(function) {}
    constexpr Hook(Rule function) : rule(function) {}
    constexpr Hook(Derive function) : derive(function) {}

    void get(OptionsOf &function) const { function = options; }
    void get(StatusOf &function) const { function = status; }
    void get(Condition &function) const { function = condition; }
    void get(Accepts &function) const { function = accepts; }
    void get(Rule &function) const { function = rule; }
    void get(Derive &function) const { function = derive; }
};

/// The table of a page as the compiler wrote it; both last as long as the program.
struct PackedPage {
    const char *bytes;
    const Hook *hooks;
};

template <typename Given, typename Wanted>
concept Like = std::same_as<std::remove_const_t<Given>, Wanted>;

// The members of each struct, in the order in which they are written: what is not named here is
// not in the program.

constexpr void members(Like<Choice> auto &choice, auto &use) {
    use(choice.value, choice.label);
}
constexpr void members(Like<When> auto &when, auto &use) {
    use(when.key, when.values);
}
constexpr void members(Like<Field> auto &field, auto &use) {
    use(field.label, field.key, field.type, field.input, field.choices, field.options, field.help,
        field.maxlength, field.least, field.most, field.accepts, field.refusal, field.confirms,
        field.required, field.missing, field.file, field.word, field.posted, field.grid,
        field.alone, field.status, field.held);
    // Only zandorin-config describes settings; a page does not read past these.
#ifdef ZANDORIN_DOCUMENTED
    use(field.standard, field.note);
#endif
}
constexpr void members(Like<Section> auto &section, auto &use) {
    use(section.title, section.fields, section.offered, section.suffix, section.where,
        section.except);
}
constexpr void members(Like<Column> auto &column, auto &use) {
    use(column.title, column.key, column.status, column.markup);
}
constexpr void members(Like<Variant> auto &variant, auto &use) {
    use(variant.name, variant.title, variant.fields, variant.offered, variant.subject);
}
constexpr void members(Like<Mention> auto &mention, auto &use) {
    use(mention.key, mention.word, mention.set, mention.entry);
}
constexpr void members(Like<List> auto &list, auto &use) {
    use(list.key, list.word, list.title, list.singular, list.empty, list.name, list.columns,
        list.sections, list.question, list.toggle, list.toggled, list.fixed, list.refusal,
        list.mentions, list.moves, list.copies, list.rule, list.variantKey, list.variantField,
        list.variantWord, list.unchosen, list.noVariant, list.variants, list.lists, list.text,
        list.offered, list.derive, list.command, list.commandTitle, list.commandQuestion,
        list.probe);
}
constexpr void members(Like<Chooser> auto &chooser, auto &use) {
    use(chooser.variable, chooser.label, chooser.help, chooser.prefix, chooser.options,
        chooser.unknown, chooser.columns, chooser.title);
}
constexpr void members(Like<Attempt> auto &attempt, auto &use) {
    use(attempt.service, attempt.name, attempt.title, attempt.button, attempt.fields);
}
constexpr void members(Like<Page> auto &page, auto &use) {
    use(page.sections, page.rule, page.lists, page.chooser, page.attempts, page.services);
}

/// Writes a table, or only counts what it would write where it is given no memory.
class Writer {
  public:
    constexpr Writer() = default;
    constexpr Writer(char *bytes, Hook *hooks) : bytes_(bytes), hooks_(hooks) {}

    constexpr void operator()(const auto &...values) { (write(values), ...); }
    constexpr std::size_t bytes() const { return usedBytes_; }
    constexpr std::size_t hooks() const { return usedHooks_; }

  private:
    constexpr void put(char byte) {
        if (bytes_ != nullptr)
            bytes_[usedBytes_] = byte;
        ++usedBytes_;
    }
    constexpr void putNumber(std::size_t number) {
        if (number > std::numeric_limits<std::uint8_t>::max())
            throw "more than a byte can count"; // does not compile
        put(static_cast<char>(number));
    }

    constexpr void write(const char *const &text) {
        for (const char *at = text; at != nullptr && *at != '\0'; ++at)
            put(*at);
        put('\0');
    }
    constexpr void write(TypeName type) { putNumber(type.number()); }
    constexpr void write(Input input) { putNumber(static_cast<std::size_t>(input)); }
    constexpr void write(bool flag) { putNumber(flag ? 1 : 0); }
    constexpr void write(std::int32_t number) {
        const auto bits = static_cast<std::uint32_t>(number);
        for (unsigned shift = 0; shift < 32; shift += 8)
            put(static_cast<char>((bits >> shift) & 0xffU));
    }
    template <typename Result, typename... Arguments>
    constexpr void write(Result (*function)(Arguments...)) {
        if (function == nullptr) {
            putNumber(0);
            return;
        }
        if (hooks_ != nullptr)
            hooks_[usedHooks_] = Hook(function);
        putNumber(++usedHooks_);
    }
    template <typename Item> constexpr void write(std::span<const Item> items) {
        putNumber(items.size());
        for (const Item &item : items)
            members(item, *this);
    }
    template <typename Struct>
    requires std::is_class_v<Struct>
    constexpr void write(const Struct &value) { members(value, *this); }

    char *bytes_ = nullptr;
    Hook *hooks_ = nullptr;
    std::size_t usedBytes_ = 0;
    std::size_t usedHooks_ = 0;
};

/// A page that was read back, with the memory of its arrays. Moving it leaves them where they are.
struct LoadedPage {
    Page page = {};
    std::vector<std::shared_ptr<const void>> arrays = {};
};

/// Reads a table back; driven by `members`, as Writer is.
class Reader {
  public:
    Reader(const PackedPage &packed, LoadedPage &loaded)
        : at_(packed.bytes), hooks_(packed.hooks), loaded_(loaded) {}

    void operator()(auto &...values) { (read(values), ...); }

  private:
    std::size_t number() { return static_cast<unsigned char>(*at_++); }

    void read(const char *&text) {
        text = at_;
        at_ += std::strlen(at_) + 1;
    }
    void read(TypeName &type) { type = TypeName(static_cast<unsigned char>(number())); }
    void read(Input &input) { input = static_cast<Input>(number()); }
    void read(bool &flag) { flag = number() != 0; }
    void read(std::int32_t &value) {
        std::uint32_t bits = 0;
        for (unsigned shift = 0; shift < 32; shift += 8)
            bits |= static_cast<std::uint32_t>(number()) << shift;
        value = static_cast<std::int32_t>(bits);
    }
    template <typename Result, typename... Arguments> void read(Result (*&function)(Arguments...)) {
        const std::size_t index = number();
        if (index != 0)
            hooks_[index - 1].get(function);
    }
    template <typename Item> void read(std::span<const Item> &items) {
        const std::size_t count = number();
        if (count == 0)
            return;
        const auto array = std::make_shared<std::vector<Item>>(count);
        for (Item &item : *array)
            members(item, *this);
        items = *array;
        loaded_.arrays.push_back(array);
    }
    template <typename Struct>
    requires std::is_class_v<Struct>
    void read(Struct &value) { members(value, *this); }

    const char *at_;
    const Hook *hooks_;
    LoadedPage &loaded_;
};

/// How much a table takes.
struct PackedSize {
    std::size_t bytes;
    std::size_t hooks;
};
constexpr PackedSize sizeOf(const Page &table) {
    Writer counter;
    members(table, counter);
    return {.bytes = counter.bytes(), .hooks = counter.hooks()};
}

template <PackedSize size> struct PackedBytes {
    std::array<char, size.bytes> bytes = {};

    consteval explicit PackedBytes(const Page &table) {
        Writer writer(bytes.data(), nullptr);
        members(table, writer);
    }
};
template <PackedSize size> struct PackedHooks {
    // One more: an array of none has no address.
    std::array<Hook, size.hooks + 1> hooks = {};

    consteval explicit PackedHooks(const Page &table) {
        std::array<char, size.bytes> unused = {};
        Writer writer(unused.data(), hooks.data());
        members(table, writer);
    }
};

/// The table of a page that lasts as long as the program.
template <const Page &page> PackedPage packed() {
    static constexpr PackedSize size = sizeOf(page);
    static constexpr PackedBytes<size> bytes(page);
    static constexpr PackedHooks<size> hooks(page);
    return {.bytes = bytes.bytes.data(), .hooks = hooks.hooks.data()};
}

/// The page of a table, once it is needed.
inline LoadedPage load(const PackedPage &packed) {
    LoadedPage loaded;
    Reader reader(packed, loaded);
    members(loaded.page, reader);
    return loaded;
}

} // namespace zandorin::settings
