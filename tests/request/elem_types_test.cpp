#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

using ElemTypes = RequestTest;

TEST_F(ElemTypes, GuardWhatAFormSaves) {
    put("/home/httpd/nav.xml",
        "<tree><allow><role>admin</role></allow><branch label='B'><leaf id='t' label='T'/></branch>"
        "</tree>");
    put("/home/httpd/forms/t.def", "CGI_CALL(ui::addElement,config.t.peer,Peer,addressportlist)"
                                   "CGI_CALL(ui::addElement,config.t.mail,Mail,email)");
    put("/home/httpd/forms/t.frm", "body");
    const auto submit = [&](const std::string &peer, const std::string &mail) {
        return post(
            {{"form", "t"}, {"apply", "1"}, {"config.t.peer", peer}, {"config.t.mail", mail}},
            login());
    };

    Response response = submit("a:80,<b>:1", "<a@b.de>");
    EXPECT_TRUE(response.has("<i>Peer</i> must be assigned a <i>comma separated list of Network "
                             "Addresses with optional Port</i>. The value '<i>a:80,&lt;b&gt;:1</i>'"
                             " is invalid."));
    EXPECT_TRUE(response.has("<i>Mail</i> can not contain markup."));
    EXPECT_EQ(read("/etc/config/config.xml").find("<peer>"), std::string::npos);
    expectLog("can not contain markup");

    response = submit("a:80,[::1]:1", "a@b.de, c@d.org");
    EXPECT_FALSE(response.has("must be assigned"));
    EXPECT_NE(read("/etc/config/config.xml").find("<peer>a:80,[::1]:1</peer>"), std::string::npos);
    EXPECT_NE(read("/etc/config/config.xml").find("<mail>a@b.de, c@d.org</mail>"),
              std::string::npos);
}

} // namespace
} // namespace zandorin::test
