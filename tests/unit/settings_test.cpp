#include "platform/libzandorin/config_manager.h"
#include "settings/edit.h"
#include "settings/form_check.h"
#include "settings/packed.h"
#include "settings/records.h"
#include "settings/rules.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"

namespace zandorin::settings {
namespace {

using Texts = std::map<std::string, std::string>;

class Sent : public Submission {
  public:
    explicit Sent(Texts texts, bool whole = true) : texts_(std::move(texts)), whole_(whole) {}
    std::optional<std::string> text(const std::string &name, std::size_t longest) const override {
        const auto found = texts_.find(name);
        return found == texts_.end() ? std::nullopt
                                     : std::optional(found->second.substr(0, longest - 1));
    }
    bool isWhole() const override { return whole_; }

  private:
    Texts texts_;
    bool whole_;
};

class Settings : public test::ConfigTest {
  protected:
    void store(const std::string &key, const std::string &value) {
        if (value.empty())
            config.delElement(key);
        else
            config.setElement(key, value);
    }
};

// What a submission makes of a value that somebody else may have changed since its page was made.
struct Race {
    const char *name;
    FormElem element;
    const char *opened; ///< stored when the page was made
    const char *now;    ///< stored by now
    const char *sent;
    const char *after; ///< stored in the end
    bool refused = false;
};

TEST_F(Settings, NoSubmissionUndoesWhatSomebodyElseSaved) {
    const FormElem text("Port", "tcpport", true, true);
    const FormElem box("On", "boolean", true, true);
    const FormElem kept("Name", "unsafe_printable", true, false);
    const FormElem password("Password", "password", true, true);
    FormElem menu("Protocol", "text", true, true);
    menu.standard = "SHA";
    const Race races[] = {
        {"nobody else, changed", text, "25", "25", "26", "26"},
        {"nobody else, emptied", text, "25", "25", "", ""},
        {"others only", text, "25", "587", "25", "587"},
        {"others only, filled in", text, "", "587", "", "587"},
        {"others only, emptied", text, "25", "", "25", ""},
        {"both the same", text, "25", "26", "26", "26"},
        {"both", text, "25", "587", "26", "587", true},
        {"both, emptied here", text, "25", "587", "", "587", true},
        {"both, emptied there", text, "25", "", "26", "", true},
        {"refused whoever changed it", text, "25", "587", "banana", "587", true},
        {"box in other words", box, "yes", "yes", "on", "yes"},
        {"box cleared by others", box, "on", "", "on", ""},
        {"input that keeps its value", kept, "a", "b", "", "b"},
        {"input that keeps its value, both", kept, "a", "b", "c", "b", true},
        {"password unchanged here", password, "one", "two", password_placeholder, "two"},
        {"password, both", password, "one", "two", "three", "two", true},
        {"menu that showed its first choice", menu, "", "MD5", "SHA", "MD5"},
    };
    const std::string key = "config.x.y";
    for (const Race &race : races) {
        SCOPED_TRACE(race.name);
        Fingerprint opened("session");
        opened.add(key, shownValue(race.element, race.opened), race.element.isSecret(key));
        Fingerprint sent("session");
        sent.read(opened.text());
        store(key, race.now);
        const Sent submission({{key, race.sent}});
        FormCheck check(config, submission, sent);
        check.check(key, race.element, race.sent);
        EXPECT_EQ(!check.problems().empty(), race.refused);
        for (const Problem &problem : check.problems().all())
            EXPECT_EQ(problem.message.find("three"), std::string::npos) << "a password is shown";
        if (check.problems().empty())
            check.save(config);
        EXPECT_EQ(config.getElement(key), race.after);
    }
}

TEST_F(Settings, AFingerprintOfAnotherKindCountsAsNone) {
    for (const char *text : {"", "abcdefg", "ABCDEF01", "<b>12345", "deadbee"}) {
        Fingerprint fingerprint("session");
        fingerprint.read(text);
        EXPECT_FALSE(fingerprint.isKnown()) << text;
    }
}

// Every kind of rule that a table can hold.

bool isEven(const std::string &value) {
    return value.size() % 2 == 0;
}
constexpr Choice words[] = {{"a", "A"}, {"b", "B"}};
constexpr Field fields[] = {
    {.label = "Word", .key = "config.word", .input = Input::menu, .choices = words},
    {.label = "Count",
     .key = "config.count",
     .least = 10,
     .most = 20,
     .refusal = "count {}",
     .required = {"config.word", "b c"},
     .missing = "count for {}"},
    {.label = "Even", .key = "config.even", .accepts = isEven},
    {.label = "Code",
     .key = "config.code",
     .type = "password",
     .input = Input::password,
     .least = 4,
     .refusal = "code is short"},
    {.label = "Again",
     .key = "config.again",
     .input = Input::confirmation,
     .refusal = "code is not repeated",
     .confirms = "config.code"},
};
void notBoth(const Values &values, Problems &problems) {
    problems.require(!values.isGiven("config.even") || !values.isGiven("config.code"), "", "both");
}
constexpr Section sections[] = {{.title = "Section", .fields = fields}};
constexpr Page page = {.sections = sections, .rule = notBoth};

TEST_F(Settings, RulesOfATable) {
    const LoadedPage loaded = load(packed<page>());
    config.setElement("config.code", "stored");
    config.setElement("config.word", "legacy");
    struct Row {
        Texts sent;
        const char *problems;
    };
    const Row rows[] = {
        {{{"config.word", "a"}}, ""},
        {{{"config.word", "legacy"}}, ""},
        {{{"config.word", "x<"}},
         "<i>Word</i> must be one of the choices. The value '<i>x&lt;</i>' is invalid.|"},
        {{{"config.word", "b"}}, "count for b|"},
        {{{"config.word", "b"}, {"config.count", "10"}}, ""},
        {{{"config.count", "20"}}, ""},
        {{{"config.count", "21"}}, "count 21|"},
        {{{"config.count", "9"}}, "count 9|"},
        {{{"config.count", "1<"}}, "count 1&lt;|"},
        {{{"config.even", "odd"}}, "<i>Even</i> is invalid.|"},
        {{{"config.code", "abc"}, {"config.again", "abc"}}, "code is short|"},
        {{{"config.code", "abc"}}, "code is not repeated|code is short|"},
        {{{"config.code", "abcd"}, {"config.again", "abcd"}, {"config.even", "ab"}}, "both|"},
        {{{"config.code", "********"}, {"config.again", "********"}, {"config.even", "ab"}},
         "both|"},
    };
    for (const Row &row : rows) {
        const Sent sent(row.sent);
        Values values(config, &sent);
        values.add(loaded.page.sections);
        Problems problems;
        checkRules(values, loaded.page.rule, problems);
        std::string found;
        for (const Problem &problem : problems.all())
            found += problem.message + "|";
        EXPECT_EQ(found, row.problems);
    }
}

constexpr Field record_fields[] = {
    {.label = "Name", .key = ".name", .type = "alphanum", .missing = "<i>Name</i> is required."},
    {.label = "Secret", .key = ".secret", .type = "password", .input = Input::password},
    {.label = "Again", .key = ".again", .input = Input::confirmation, .confirms = ".secret"},
    {.label = "Kind", .key = ".kind"},
};
constexpr Field deep_fields[] = {{.label = "Depth", .key = ".depth", .least = 1, .most = 9}};
constexpr Section record_sections[] = {{"Record", record_fields}};
constexpr Variant variants[] = {{.name = "deep", .title = "Deep", .fields = deep_fields}};
constexpr List lists[] = {{.key = "config.test.list",
                           .word = "item",
                           .title = "Items",
                           .singular = "Item",
                           .empty = "",
                           .name = ".name",
                           .columns = {},
                           .sections = record_sections,
                           .variantKey = ".kind",
                           .variants = variants}};
constexpr Page list_page = {.sections = {}, .lists = lists};

TEST_F(Settings, ACommandChangesRecordsUnderTheRulesOfTheirTable) {
    const auto add = [&](const Changes &changes) {
        const Part part = partsOf(list_page, config).back();
        Changes whole;
        for (const auto &[key, text] : changes)
            whole[part.place.keys + key] = text;
        const Problems problems = addRecord(config, part, whole);
        return problems.empty() ? "" : problems.all().front().message;
    };
    EXPECT_EQ(add({{".name", "ann"}, {".secret", "hush"}}), "");
    EXPECT_EQ(add({{".name", "bea"}, {".kind", "deep"}, {".depth", "5"}}), "");
    EXPECT_EQ(add({{".name", "ann"}}), "There is an item 'ann' already.");
    EXPECT_EQ(add({{".kind", "flat"}}), "<i>Name</i> is required.");
    EXPECT_EQ(add({{".name", "dan"}, {".kind", "deep"}, {".depth", "10"}}),
              "<i>Depth</i> must be 1 to 9.");
    EXPECT_EQ(add({{".name", "dan"}, {".depth", "5"}}),
              "config.test.list.item3.depth is no setting that can be given a value.");
    EXPECT_EQ(config.getElement("config.test.list.total"), "2");
    EXPECT_EQ(config.getElement("config.test.list.item1.secret"), "hush");

    const auto second = partOf(list_page, config, "config.test.list.item2.depth");
    ASSERT_TRUE(second && second->number == 2);
    EXPECT_EQ(change(config, *second, {{"config.test.list.item2.name", "ann"}}).size(), 1U);
    EXPECT_TRUE(change(config, *second, {{"config.test.list.item2.depth", ""}}).empty());
    EXPECT_EQ(config.getElement("config.test.list.item2.depth"), "");
    EXPECT_TRUE(checkStored(config, *second).empty());
}

} // namespace
} // namespace zandorin::settings
