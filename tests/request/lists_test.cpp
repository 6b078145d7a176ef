#include "tests/request/users_page.h"
#include "tests/support/pages.h"

// What every list of a settings page does, seen at the time servers: their page has no code of
// its own for it.

namespace zandorin::test {
namespace {

class Lists : public RequestTest {
  protected:
    Lists() { configure("config.ntp.servers", "a.example, b.example,c.example"); }

    /// What the page sends that nothing was done to; of two fields of one name the first counts.
    Fields opened(const std::string &query) {
        Fields fields;
        for (const PageField &field : readFields(get(query).body))
            if (field.kind != "file" && (field.kind != "checkbox" || field.checked))
                fields.emplace_back(field.name, field.value);
        return fields + Fields{{"apply", "Apply"}};
    }
    static Fields server(int number, const std::string &address, const Fields &more = {}) {
        const std::string key = "config.ntp.servers.server" + std::to_string(number);
        return more + Fields{{key + ".address", address}, {key + ".kind", "server"}};
    }
    /// The addresses in their order, with the list's total.
    std::string list() const {
        std::string text = stored("config.ntp.servers.total");
        for (int number = 1; number <= 9; ++number)
            text += " " + stored("config.ntp.servers.server" + std::to_string(number) + ".address");
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }
};

TEST_F(Lists, WhatAnOlderReleaseKeptAsTextIsMovedByTheNextSave) {
    const Response page = get("form=time");
    EXPECT_EQ(page.lacks({"b.example", "index=3&amp;type=server"}), "");
    EXPECT_EQ(stored("config.ntp.servers"), "a.example, b.example,c.example") << "only looked at";
    post(formData("form=time&apply=on&config.ntp.enabled=on"));
    EXPECT_EQ(list(), "3 a.example b.example c.example");
    EXPECT_EQ(configuration().find("a.example, "), std::string::npos);
}

TEST_F(Lists, RecordsAreAddedChangedMovedAndDeleted) {
    EXPECT_TRUE(post(server(4, "d.example") + opened("form=time&action=add&type=server"))
                    .has("Server 'd.example' has been saved."));
    EXPECT_EQ(list(), "4 a.example b.example c.example d.example");

    post(server(2, "bb.example", {{"config.ntp.servers.server2.preferred", "on"}}) +
         opened("form=time&action=edit&index=2&type=server"));
    EXPECT_TRUE(get("form=time&action=up&index=2&type=server&opened=bb.example")
                    .has("Server 'bb.example' has been moved."));
    EXPECT_EQ(list(), "4 bb.example a.example c.example d.example");
    EXPECT_EQ(stored("config.ntp.servers.server1.preferred"), "on");
    get("form=time&action=down&index=1&type=server&opened=bb.example");
    get("form=time&action=down&index=4&type=server&opened=d.example");
    EXPECT_EQ(list(), "4 a.example bb.example c.example d.example");
    get("form=time&action=copy&index=2&type=server&opened=bb.example");
    EXPECT_EQ(list(), "4 a.example bb.example c.example d.example") << "is not offered here";

    EXPECT_TRUE(get("form=time&action=delete&index=1&type=server&apply=Delete&opened=a.example")
                    .has("Delete the time server 'a.example'?"));
    EXPECT_EQ(list().substr(0, 1), "4") << "a link alone deletes nothing";
    EXPECT_TRUE(post(opened("form=time&action=delete&index=1&type=server"))
                    .has("Server 'a.example' has been deleted."));
    EXPECT_EQ(list(), "3 bb.example c.example d.example");
    EXPECT_TRUE(get("form=time&action=disable&index=1&type=server")
                    .has("NTP Servers cannot be enabled or disabled"));
}

TEST_F(Lists, APageThatWasOpenedEarlierNeverHitsAnotherRecord) {
    const Fields edit = opened("form=time&action=edit&index=3&type=server");
    const Fields remove = opened("form=time&action=delete&index=2&type=server");
    post(opened("form=time&action=delete&index=1&type=server"));
    ASSERT_EQ(list(), "2 b.example c.example");
    EXPECT_TRUE(post(server(3, "cc.example") + edit).has("'cc.example' has been saved."));
    EXPECT_EQ(list(), "2 b.example cc.example") << "found under its new number";
    post(remove);
    EXPECT_EQ(list(), "1 cc.example");

    const std::string before = configuration();
    EXPECT_EQ(post(server(3, "x.example") + edit).boxes(),
              "There is no such server; it may have been deleted meanwhile.");
    EXPECT_EQ(get("form=time&action=up&index=1&type=server&opened=b.example").boxes(),
              "The list has changed meanwhile: this entry is 'cc.example' now, not 'b.example'. "
              "Nothing was saved.");
    EXPECT_EQ(post(formData("form=time&apply=on&action=edit&index=1&type=server")).boxes(),
              "The list has changed meanwhile: this entry is 'cc.example' now, not ''. Nothing was "
              "saved.");
    EXPECT_EQ(configuration(), before);
    // Without its name it is no record.
    configure("config.ntp.servers.server2.kind", "pool");
    expectLog("Invalid server 'config.ntp.servers.server2': no name");
    EXPECT_FALSE(get("form=time").has("index=2"));
    EXPECT_NE(log().find("server2': no name"), std::string::npos);
}

TEST_F(Lists, APageThatWasOpenedEarlierUndoesNothing) {
    const std::string key = "config.ntp.servers.server1.";
    const Fields first = opened("form=time&action=edit&index=1&type=server");
    ASSERT_TRUE(post(server(1, "a.example", {{key + "kind", "pool"}}) + first).has("saved."));
    EXPECT_TRUE(post(server(1, "a.example", {{key + "preferred", "on"}}) + first).has("saved."));
    EXPECT_EQ(stored(key + "kind") + stored(key + "preferred"), "poolon")
        << "what this page left alone stays";

    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "secret"))));
    const std::string ann = "config.users.user1.";
    const Fields page = opened("form=users&action=edit&index=1&type=user");
    configure({{ann + "description", "theirs"}, {ann + "disabled", "on"}});
    EXPECT_TRUE(post(Fields{{ann + "description", "mine"}} + page)
                    .has("<i>Description</i> was changed by somebody else"));
    EXPECT_TRUE(saved(post(page)));
    EXPECT_EQ(stored(ann + "description") + stored(ann + "disabled"), "theirson");
    EXPECT_NE(read(passwd).find(":theirs:/etc/config/users/ann:/bin/false"), std::string::npos)
        << "the account follows what is stored";
}

} // namespace
} // namespace zandorin::test
