#include "engine/nav_tree.h"
#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "util/exception.h"
#include "util/strings.h"

namespace zandorin {
namespace {

using utilities::Roles;

class NavTreeTest : public test::ConfigTest {
  protected:
    int load(const std::string &xml) {
        put("/nav.xml", xml);
        return tree_.load("/nav.xml");
    }
    std::string rolesOf(const char *id) const {
        const NavLeaf *leaf = nullptr;
        return tree_.getNavLeaf(id, leaf) ? Roles::to_string(leaf->roles) : "(no leaf)";
    }

    NavTree tree_;
};

TEST_F(NavTreeTest, LoadsBranchesLeavesAndRoles) {
    ASSERT_EQ(load("<tree><allow><role>admin</role></allow>"
                   "<branch label='Status'><ALLOW><Role>status</Role><other/></ALLOW>"
                   "<Leaf id='a' label='A' hidden='false' shortcut='S' shortcut_precedence='7x'/>"
                   "<leaf id='b' file='f' args='x y' label='B&#228;r' check='io_ports'/></branch>"
                   "<branch label='Rest'><leaf id='a' label='second'/><leaf id='c' label='C'/>"
                   "</branch></tree>"),
              0);
    const NavLeaf *leaf = nullptr;
    ASSERT_TRUE(tree_.getNavLeaf("a", leaf));
    EXPECT_EQ(concat({leaf->file, "|", leaf->label}), "a|A") << "the first of an id counts";
    EXPECT_TRUE(leaf->hidden) << "present at all";
    EXPECT_EQ(leaf->shortcutPrecedence, 7);
    ASSERT_TRUE(tree_.getNavLeaf("b", leaf));
    EXPECT_EQ(concat({leaf->file, "|", leaf->args, "|", leaf->branchLabel, "|", leaf->label}),
              "f|x y|Status|B\xe4r"); // pages are ISO-8859-1
    EXPECT_EQ(rolesOf("b"), "status");
    EXPECT_EQ(rolesOf("c"), "admin") << "from the tree";
    EXPECT_FALSE(tree_.getNavLeaf("A", leaf));
    EXPECT_EQ(leaf, nullptr);
}

TEST_F(NavTreeTest, SkipsAndLogsBadElements) {
    const test::LogCapture log;
    ASSERT_EQ(load("<tree><allow><user>x</user></allow><Branch label='B'/><branch><leaf id='n' "
                   "label='N'/></branch><branch label='S'><leaf id='x'/><leaf label='no id'/>"
                   "<twig/></branch></tree>"),
              0);
    EXPECT_EQ(log.records(), (std::vector<std::string>{"0 Invalid 'allow' type in navtree: x",
                                                       "0 Invalid node in navtree: Branch",
                                                       "0 Invalid leaf in navtree.\n",
                                                       "0 Invalid node in navtree: twig"}));
    EXPECT_EQ(rolesOf("n"), "(no leaf)") << "a branch without a label is skipped whole";
    ASSERT_EQ(tree_.branches().size(), 1U);
    EXPECT_TRUE(tree_.branches()[0].leaves.empty());
}

TEST_F(NavTreeTest, RefusesWhatIsNoTree) {
    const test::LogCapture log;
    for (const char *xml : {"<tree>", "<Tree/>"})
        EXPECT_EQ(load(xml), -1) << xml;
    EXPECT_EQ(tree_.load("/missing.xml"), -1);
    try {
        const NavTree strict("/missing.xml");
        FAIL() << "no exception";
    } catch (const utilities::Exception &fault) {
        EXPECT_EQ(fault.toString(), "NavTree: Failed to load /missing.xml");
    }
}

TEST_F(NavTreeTest, ChecksDecideWhetherALeafIsOffered) {
    const std::tuple<const char *, std::string, bool> rows[] = {
        {"unheard_of", "", true},
        {"delayed_config", "", false},
        {"delayed_config", "<delayed>on</delayed>", true},
        {"io_ports", "<system><model>HX9016-I</model></system>", true},
        {"io_ports", "<system><factory_opts>a,ind</factory_opts></system>", true},
        {"io_ports", "<system><factory_opts>indus</factory_opts></system>", false},
    };
    for (const auto &[check, configuration, isOffered] : rows) {
        configure(configuration);
        NavLeaf leaf;
        leaf.check = check;
        EXPECT_EQ(checkLeaf(leaf, config), isOffered) << check << " " << configuration;
    }
}

} // namespace
} // namespace zandorin
