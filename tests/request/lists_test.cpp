#include "tests/request/users_page.h"
#include "tests/support/pages.h"

// What every list of a settings page does, seen at the time servers: their page has no code of
// its own for it.

namespace zandorin::test {
namespace {

class Lists : public RequestTest {
  protected:
    Lists() { configure("config.ntp.servers", "a.example, b.example,c.example"); }

    /// The hidden fields of a record's page as it is now, its fingerprint among them.
    Fields opened(const std::string &query) {
        Fields fields;
        for (const PageField &field : readFields(get("form=time&" + query, login()).body))
            if (field.kind == "hidden")
                fields.emplace_back(field.name, field.value);
        fields.emplace_back("apply", "Apply");
        return fields;
    }
    static Fields server(int number, const std::string &address, const Fields &more = {}) {
        const std::string key = "config.ntp.servers.server" + std::to_string(number);
        return more + Fields{{key + ".address", address}, {key + ".kind", "server"}};
    }
    Response send(const Fields &fields) { return post(fields, login()); }
    /// The addresses in their order, with the list's total.
    std::string list() const {
        std::string text = stored("config.ntp.servers.total");
        for (int number = 1; number <= 9; ++number)
            text += " " + stored("config.ntp.servers.server" + std::to_string(number) + ".address");
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }
};

TEST_F(Lists, WhatAnOlderReleaseKeptAsTextIsMovedByTheNextSave) {
    const Response page = get("form=time", login());
    EXPECT_EQ(page.lacks({"b.example", "index=3&amp;type=server"}), "");
    EXPECT_EQ(stored("config.ntp.servers"), "a.example, b.example,c.example") << "only looked at";
    send(formData("form=time&apply=on&config.ntp.enabled=on"));
    EXPECT_EQ(list(), "3 a.example b.example c.example");
    EXPECT_EQ(configuration().find("a.example, "), std::string::npos);
}

TEST_F(Lists, RecordsAreAddedChangedMovedAndDeleted) {
    expectLog("can not contain markup");
    EXPECT_EQ(send(server(4, "<d>") + opened("action=add&type=server")).boxes(),
              "<i>Address</i> must be assigned a <i>Network Address</i>. The value "
              "'<i>&lt;d&gt;</i>' is invalid.");
    EXPECT_EQ(send(server(4, "a.example") + opened("action=add&type=server")).boxes(),
              "There is a server 'a.example' already.");
    EXPECT_EQ(send(server(4, std::string(256, 'd')) + opened("action=add&type=server"))
                  .lacks({"<i>Address</i> can not be longer than 255 bytes.", "Add Server"}),
              "");
    EXPECT_EQ(list(), "") << "nothing was saved";
    EXPECT_TRUE(send(server(4, "d.example") + opened("action=add&type=server"))
                    .has("Server 'd.example' has been saved."));
    EXPECT_EQ(list(), "4 a.example b.example c.example d.example");

    send(server(2, "bb.example", {{"config.ntp.servers.server2.preferred", "on"}}) +
         opened("action=edit&index=2&type=server"));
    EXPECT_TRUE(get("form=time&action=up&index=2&type=server&opened=bb.example", login())
                    .has("Server 'bb.example' has been moved."));
    EXPECT_EQ(list(), "4 bb.example a.example c.example d.example");
    EXPECT_EQ(stored("config.ntp.servers.server1.preferred"), "on");
    get("form=time&action=down&index=1&type=server&opened=bb.example", login());
    get("form=time&action=down&index=4&type=server&opened=d.example", login());
    EXPECT_EQ(list(), "4 a.example bb.example c.example d.example");
    get("form=time&action=copy&index=2&type=server&opened=bb.example", login());
    EXPECT_EQ(list(), "4 a.example bb.example c.example d.example") << "is not offered here";

    EXPECT_TRUE(
        get("form=time&action=delete&index=1&type=server&apply=Delete&opened=a.example", login())
            .has("Delete the time server 'a.example'?"));
    EXPECT_EQ(list().substr(0, 1), "4") << "a link alone deletes nothing";
    EXPECT_TRUE(send(opened("action=delete&index=1&type=server"))
                    .has("Server 'a.example' has been deleted."));
    EXPECT_EQ(list(), "3 bb.example c.example d.example");
    EXPECT_TRUE(get("form=time&action=disable&index=1&type=server", login())
                    .has("NTP Servers cannot be enabled or disabled"));
}

TEST_F(Lists, APageThatWasOpenedEarlierNeverHitsAnotherRecord) {
    const Fields edit = opened("action=edit&index=3&type=server");
    const Fields remove = opened("action=delete&index=2&type=server");
    send(opened("action=delete&index=1&type=server"));
    ASSERT_EQ(list(), "2 b.example c.example");
    EXPECT_TRUE(send(server(3, "cc.example") + edit).has("'cc.example' has been saved."));
    EXPECT_EQ(list(), "2 b.example cc.example") << "found under its new number";
    send(remove);
    EXPECT_EQ(list(), "1 cc.example");

    const std::string before = configuration();
    EXPECT_EQ(send(server(3, "x.example") + edit).boxes(),
              "There is no such server; it may have been deleted meanwhile.");
    EXPECT_EQ(get("form=time&action=up&index=1&type=server&opened=b.example", login()).boxes(),
              "The list has changed meanwhile: this entry is 'cc.example' now, not 'b.example'. "
              "Nothing was saved.");
    EXPECT_EQ(send(formData("form=time&apply=on&action=edit&index=1&type=server")).boxes(),
              "The list has changed meanwhile: this entry is 'cc.example' now, not ''. Nothing was "
              "saved.");
    EXPECT_EQ(configuration(), before);
    // Without its name it is no record.
    configure("config.ntp.servers.server2.kind", "pool");
    expectLog("Invalid server 'config.ntp.servers.server2': no name");
    EXPECT_FALSE(get("form=time", login()).has("index=2"));
    EXPECT_NE(log().find("server2': no name"), std::string::npos);
}

TEST_F(Lists, APageThatWasOpenedEarlierUndoesNothing) {
    const std::string key = "config.ntp.servers.server1.";
    const Fields first = opened("action=edit&index=1&type=server");
    ASSERT_TRUE(send(server(1, "a.example", {{key + "kind", "pool"}}) + first).has("saved."));
    EXPECT_TRUE(send(server(1, "a.example", {{key + "preferred", "on"}}) + first).has("saved."));
    EXPECT_EQ(stored(key + "kind") + stored(key + "preferred"), "poolon")
        << "what this page left alone stays";

    ASSERT_TRUE(saved(post(userFields(1, "", "ann", "secret"), login())));
    const std::string ann = "config.users.user1.";
    Fields page;
    for (const PageField &field :
         readFields(get("form=users&action=edit&index=1&type=user", login()).body))
        if (field.kind == "hidden" || field.kind == "password" || field.name == ann + "username")
            page.emplace_back(field.name, field.value);
    configure(ann + "description", "theirs");
    configure(ann + "disabled", "on");
    page.emplace_back("apply", "Apply");
    EXPECT_TRUE(post(Fields{{ann + "description", "mine"}} + page, login())
                    .has("<i>Description</i> was changed by somebody else"));
    EXPECT_TRUE(saved(post(page, login())));
    EXPECT_EQ(stored(ann + "description") + stored(ann + "disabled"), "theirson");
    EXPECT_NE(read(passwd).find(":theirs:/etc/config/users/ann:/bin/false"), std::string::npos)
        << "the account follows what is stored";
}

} // namespace
} // namespace zandorin::test
