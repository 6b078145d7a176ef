#include "platform/libzdsupport/roles.h"
#include "tests/support/appliance_test.h"

namespace zandorin {
namespace {

using utilities::Roles;

Roles make(std::initializer_list<const char *> names) {
    Roles roles;
    for (const char *name : names)
        roles_add_role(roles.handle(), name);
    return roles;
}

std::string text(const Roles &roles) {
    return Roles::to_string(roles.get());
}

class RolesOf : public test::ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        configure(R"(<users><total>5</total>
            <user1><username>ann</username><groups><group1>pmshell</group1><group2>staff</group2>
              <other>admin</other></groups></user1>
            <user2><username>bob</username><disabled>on</disabled>
              <groups><group1>admin</group1></groups></user2>
            <user3><username>carl</username><groups><group1>gone</group1><group2>dialin</group2>
              </groups></user3>
            <user4><username>dora</username><groups><group1>pmoperator</group1><group2>netgrp</group2>
              </groups></user4>
            <user4x><username>eve</username><groups><group1>admin</group1></groups></user4x>
            <user5><groups><group1>admin</group1></groups></user5></users>
            <groups><group7><name>staff</name>
              <roles><role1>power</role1><role2>ports</role2><role3/></roles></group7>
            <group8><name>netgrp</name><roles><role1>extra</role1></roles></group8></groups>)");
    }
};

TEST_F(RolesOf, Users) {
    const std::tuple<const char *, int, const char *> rows[] = {
        {"root", 0, "old, admin, ports, power, devices, status"},
        {"ann", 0, "old, ports, power"},
        {"carl", 0, "old"},
        {"dora", 0, "old, ports, devices, status, extra"},
        {"bob", -1, "old"}, // disabled
        {"eve", -1, "old"}, // not in a numbered record
        {"", -1, "old"},    // must not be the user without a name
        {nullptr, -1, "old"},
    };
    for (const auto &[user, result, expected] : rows) {
        Roles roles = make({"old"});
        EXPECT_EQ(roles_add_from_user(roles.handle(), user, config), result) << expected;
        EXPECT_EQ(text(roles), expected) << (user == nullptr ? "(null)" : user);
    }
    Roles none;
    EXPECT_EQ(roles_add_from_group(none.handle(), "gone", config), -1);
    EXPECT_EQ(roles_add_from_group(none.handle(), "pptpd", config), 0);
    EXPECT_TRUE(roles_empty(none.get()));
}

TEST(RoleSets, Operations) {
    const Roles a = make({"x", "y", "x", ""});
    const Roles b = make({"y", "z"});
    EXPECT_EQ(text(a), "x, y");
    Roles both;
    for (const Roles *first : {&a, static_cast<const Roles *>(&both)}) { // then onto its own input
        EXPECT_EQ(roles_intersect(both.handle(), first->get(), b.get()), 0);
        EXPECT_EQ(text(both), "y");
    }
    EXPECT_TRUE(roles_overlap(a.get(), b.get()));
    EXPECT_FALSE(roles_overlap(make({"x"}).get(), b.get()) || roles_overlap(nullptr, b.get()) ||
                 roles_overlap(a.get(), nullptr));
    EXPECT_TRUE(roles_equal(make({"y", "x"}).get(), a.get()));
    EXPECT_FALSE(roles_equal(b.get(), a.get()) || roles_equal(nullptr, a.get()));
    EXPECT_FALSE(roles_has(a.get(), "X"));
    Roles all = b;
    for (const Roles *more : {static_cast<const Roles *>(&all), &a})
        EXPECT_EQ(roles_add_all(all.handle(), more->get()), 0);
    EXPECT_EQ(text(all), "y, z, x");
    EXPECT_EQ(text(b), "y, z");
    roles_free(all.handle());
    EXPECT_TRUE(roles_empty(all.get()));
    EXPECT_EQ(roles_add_role(nullptr, "x"), -1);
}

} // namespace
} // namespace zandorin
