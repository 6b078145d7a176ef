#include "platform/libzandorin/config_manager.h"
#include "tests/support/appliance_test.h"
#include "util/exception.h"

#include <sys/stat.h>

namespace zandorin {
namespace {

using testing::ElementsAre;

constexpr const char *file = test::config_file;
constexpr const char *delayed_file = "/etc/config/delayed/config.xml";
constexpr const char *queue = "/etc/config/delayed/configurators";

std::string document(const std::string &inside) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n" + inside + "</config>\n";
}

class Store : public ConfigManager {
  public:
    Store() : ConfigManager(file, "/etc/config") {}
};

class ConfigStore : public test::ApplianceTest {
  protected:
    static void putConfig(const std::string &inside) { put(file, document(inside), 0600); }

    /// What a later request reads.
    static std::string valueOf(std::string_view key) {
        Store store;
        return store.read() ? store.getElement(key) : "(unread)";
    }

    static void setAndWrite(std::string_view key, std::string_view value) {
        Store store;
        ASSERT_TRUE(store.read());
        store.setElement(key, value);
        ASSERT_TRUE(store.write());
    }
};

TEST_F(ConfigStore, Values) {
    put(file, "<config>top<system><name>caf\xc3\xa9</name><name>second</name>"
              "<motd>5 \xe2\x82\xac \xf0\x9f\x98\x80</motd><blanks>  x \n</blanks></system>"
              "<flag>YES</flag><n>007</n><negative>-3</negative><huge>4294967296</huge></config>");
    Store store;
    ASSERT_TRUE(store.read());
    const std::pair<std::string_view, const char *> rows[] = {
        {"config", "top"},
        {"config.system.name", "caf\xe9"},
        {"config.system.motd", "5 &#x20ac; &#x1f600;"},
        {"config.system.blanks", "  x \n"},
        {"system.name", ""},
        {"config.system.name.", ""},
        {std::string_view("config.n\0", 9), ""},
    };
    for (const auto &[key, value] : rows)
        EXPECT_EQ(store.getElement(key), value) << key;
    EXPECT_TRUE(store.getBoolean("config.flag") && !store.getBoolean("config.n"));
    EXPECT_EQ(store.getSize("config.n"), 7U);
    EXPECT_EQ(store.getSize("config.negative") + store.getSize("config.huge"), 0U);
    EXPECT_THAT(store.getSubElements("config.system"), ElementsAre("name", "motd", "blanks"));
}

TEST_F(ConfigStore, RefusesKeysAndValuesThatTheFileCannotHold) {
    putConfig("");
    Store store;
    ASSERT_TRUE(store.read());
    std::string deep = "config";
    for (int i = 1; i < 64; ++i)
        deep += ".a";
    for (const std::string &key :
         {std::string("config"), std::string("config.1"), std::string("config.a><b"),
          std::string("config..a"), std::string("config.a<b"), deep + ".a"})
        EXPECT_THROW(store.setElement(key, "x"), utilities::Exception) << key;
    EXPECT_THROW(store.setElement("config.a", "\x1b[2J"), utilities::Exception);
    EXPECT_FALSE(store.isDirty());
    std::string all = "\t\r\n";
    for (int c = 0x20; c <= 0xff; ++c)
        all += static_cast<char>(c);
    store.setElement(deep, all);
    ASSERT_TRUE(store.write());
    EXPECT_EQ(valueOf(deep), all);
}

TEST_F(ConfigStore, DamagedFilesAreRefusedAndKept) {
    const std::string sound = document("  <delayed>on</delayed>\n");
    const std::pair<std::string, std::string> rows[] = {
        // Committed and delayed.
        {"<config><a>1</a>", sound},
        {"<configuration/>", sound},
        {sound, "<config>"},
    };
    for (const auto &[committed, delayed] : rows) {
        put(file, sound);
        put(delayed_file, sound);
        Store early; // read before the damage
        ASSERT_TRUE(early.read());
        early.setElement("config.a", "2");
        put(file, committed);
        put(delayed_file, delayed);
        Store store;
        EXPECT_FALSE(store.isBroken() || store.read()) << committed;
        store.setElement("config.a", "2");
        EXPECT_FALSE(store.isDirty());
        for (Store *each : {&store, &early})
            EXPECT_FALSE(each->write() || each->doDelayedCommit()) << committed;
        EXPECT_EQ(read(file) + read(delayed_file), committed + delayed);
    }
    SetUp();
    EXPECT_TRUE(Store().isBroken());
    makeFolder("/etc/config");
    EXPECT_FALSE(Store().isBroken() || Store().read());
    EXPECT_FALSE(exists(file));
}

TEST_F(ConfigStore, WriteTouchesNothingButItsOwn) {
    put(file,
        "<?xml version='1.0' encoding='UTF-8'?><!-- head -->\n<config version='3'>\n"
        "  <!-- about b -->\n  <b>1</b><x:odd name='&quot;'>mixed <i/> text</x:odd>\n"
        "  <keep>\xe2\x82\xac</keep><list><a>1</a><!-- in --><a>2</a></list>\n"
        "</config><!-- tail -->",
        0644);
    const mode_t before = ::umask(0);
    Store store;
    ASSERT_TRUE(store.read());
    store.delElement("config.b"); // as a form does: deleted, then set
    store.setElement("config.b", "caf\xe9");
    store.setElement("config.keep", "&#x20ac;"); // what it reads as already
    store.delElement("config.list.a");
    store.setElement("config.new.deeper", "<&>");
    ASSERT_TRUE(store.write());
    ::umask(before);
    EXPECT_EQ(read(file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- head -->\n<config version=\"3\">\n"
              "  <!-- about b -->\n  <b>caf\xc3\xa9</b>\n"
              "  <x:odd name=\"&quot;\">mixed <i/> text</x:odd>\n  <keep>\xe2\x82\xac</keep>\n"
              "  <list><!-- in --></list>\n"
              "  <new>\n    <deeper>&lt;&amp;&gt;</deeper>\n  </new>\n"
              "</config>\n<!-- tail -->\n");
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_FALSE(store.isDirty());
}

TEST_F(ConfigStore, ConfiguratorsWaitWithTheirChanges) {
    putConfig("  <a>1</a>\n");
    // The write that turns the mode on is no delayed one; a delayed file from earlier is dropped.
    put(delayed_file, document("  <a>old</a>\n"));
    Store store;
    ASSERT_TRUE(store.read());
    store.setElement("config.delayed", true);
    store.schedule("first");
    ASSERT_TRUE(store.write());
    EXPECT_FALSE(store.getDelayedConfigMode());
    EXPECT_TRUE(store.hasConfiguratorsScheduled());
    EXPECT_FALSE(exists(delayed_file));

    put(queue, "ssl\n../../bin/sh\n\nssl\n.x\nnames with blanks\n"); // by somebody else
    for (const char *name : {"second", "first", "../first"})
        store.schedule(name);
    store.setElement("config.delayed", false);
    ASSERT_TRUE(store.write());
    EXPECT_TRUE(store.getDelayedConfigMode());
    EXPECT_FALSE(store.hasConfiguratorsScheduled());
    setAndWrite("config.c", "3"); // schedules none
    EXPECT_THAT(store.getConfigurators(), ElementsAre("ssl", "first", "second", "config"));
    EXPECT_EQ(modeOf(delayed_file), 0600U);

    Store commit;
    ASSERT_TRUE(commit.read() && commit.doDelayedCommit());
    EXPECT_TRUE(commit.hasConfiguratorsScheduled());
    EXPECT_FALSE(commit.getDelayedConfigMode());
    EXPECT_THAT(commit.getConfigurators(), ElementsAre());
    EXPECT_FALSE(exists(delayed_file) || exists(queue));
}

TEST_F(ConfigStore, NothingRunsOfAChangeThatCouldNotBeQueued) {
    const std::string on = document("  <delayed>on</delayed>\n");
    const struct {
        const char *name, *obstacle; ///< a folder where a file is to be
        bool lateMode;               ///< switched on by another request meanwhile
    } rows[] = {
        {"list", queue, false},
        {"delayed file", delayed_file, false},
        {"list, mode judged when writing", queue, true},
    };
    for (const auto &row : rows) {
        SetUp();
        put(file, row.lateMode ? document("") : on);
        Store store;
        ASSERT_TRUE(store.read());
        store.setElement("config.a", "2");
        store.schedule("first");
        put(file, on);
        makeFolder(row.obstacle);
        EXPECT_FALSE(store.write()) << row.name;
        EXPECT_FALSE(store.hasConfiguratorsScheduled()) << row.name;
    }
}

} // namespace
} // namespace zandorin
