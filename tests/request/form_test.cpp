#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

constexpr const char *config = "/etc/config/config.xml";

/// A page of templates whose elements are those of the row.
class FormPage : public RequestTest {
  protected:
    FormPage() : cookie_(login()) { addPage("t", "", ""); }

    void declare(const std::vector<std::string> &elements, std::string_view frm = "") const {
        std::string def;
        for (const std::string &element : elements)
            def += "CGI_CALL(ui::addElement," + element + ")";
        put("/home/httpd/forms/t.def", def);
        put("/home/httpd/forms/t.frm", "[" + std::string(frm) + "]");
    }
    Response submit(Fields fields) {
        fields.insert(fields.begin(), {{"form", "t"}, {"apply", "Apply"}});
        return post(fields, cookie_);
    }
    /// The stored element of config.t, without white space between elements.
    std::string stored() const {
        std::string text = read(config);
        const auto start = text.find("<t>");
        if (start == std::string::npos)
            return "";
        text = text.substr(start + 3, text.find("</t>") - start - 3);
        for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n'))
            text.erase(at, text.find_first_not_of("\n ", at) - at);
        return text;
    }
    static std::string messages(const Response &response) {
        const std::string start = "<div style=\"word-break:break-all\">";
        const auto first = response.body.find(start);
        const auto last = response.body.find("<br/>\n[");
        std::string text = first == std::string::npos || last == std::string::npos
                               ? ""
                               : response.body.substr(first, last - first);
        for (const std::string &piece :
             {start, std::string("</div>"), std::string("</p></body></html>"),
              std::string("<html><body bgcolor=\"#FFFFFF\"><p class=\"error-message\"><font "
                          "color=\"#E20303\"><b>Error</b></font> "),
              std::string("<html><body bgcolor=\"#FFFFFF\"><p class=\"info-message\"><font "
                          "color=\"#0000FF\"><b>Message</b></font> ")})
            for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece))
                text.replace(at, piece.size(), piece == "</div>" ? "|" : "");
        return text;
    }

    std::string cookie_;
};

TEST_F(FormPage, OneElement) {
    const std::string good = "Changes to configuration succeeded.|";
    const std::string key = "ssh-ed25519 " + std::string(16383 - 12, 'A');
    const std::string placeholder = "********";
    const struct {
        const char *name;
        const char *element;
        Fields fields;
        std::string expected; ///< what is stored
        std::string messages;
    } rows[] = {
        {"saved", "config.t.a,A", {{"config.t.a", "new"}}, "<a>new</a>", good},
        {"255 bytes",
         "config.t.a,A",
         {{"config.t.a", std::string(300, 'x')}},
         "<a>" + std::string(255, 'x') + "</a>",
         good},
        {"name is trimmed", " config.t.a ,A", {{"config.t.a", "new"}}, "<a>new</a>", good},
        {"absent deletes", "config.t.a,A", {}, "", good},
        {"empty deletes", "config.t.a,A,text,save,delete", {{"config.t.a", ""}}, "", good},
        {"dontdelete", "config.t.a,A,text,save,dontdelete", {}, "<a>old</a>", ""},
        {"dontsave",
         "config.t.a,A,text,dontsave,delete",
         {{"config.t.a", "new"}},
         "<a>old</a>",
         ""},
        {"dontsave implies dontdelete", "config.t.a,A,text,DontSave", {}, "<a>old</a>", ""},
        {"dontsave with delete", "config.t.a,A,text,dontsave,DELETE", {}, "", good},
        {"bad words", "config.t.a,A,text,maybe,never", {}, "", good},
        {"the box deletes",
         "config.t.a,A,text,save,dontdelete",
         {{"config.t.a", ""}, {"config.t.a.delete", "on"}},
         "",
         good},
        {"a new value beats the box",
         "config.t.a,A,text,save,dontdelete",
         {{"config.t.a", "new"}, {"config.t.a.delete", "on"}},
         "<a>new</a>",
         good},
        {"no box for what is not saved",
         "config.t.a,A,text,dontsave",
         {{"config.t.a.delete", "on"}},
         "<a>old</a>",
         ""},
        {"markup",
         "config.t.a,A,text",
         {{"config.t.a", "<b>"}},
         "<a>old</a>",
         "<i>A</i> can not contain markup.|"},
        {"markup for a type without",
         "config.t.a,A,printable",
         {{"config.t.a", "x&y"}},
         "<a>old</a>",
         "<i>A</i> can not contain markup.|"},
        {"markup for a type with",
         "config.t.a,A,unsafe_printable",
         {{"config.t.a", "<b>\"&'"}},
         "<a>&lt;b&gt;\"&amp;'</a>",
         good},
        {"bad value is shown escaped",
         "config.t.a,A,netmask",
         {{"config.t.a", "<b>"}},
         "<a>old</a>",
         "<i>A</i> must be assigned a <i>Network Mask</i>. The value '<i>&lt;b&gt;</i>' is "
         "invalid.|"},
        {"no such type",
         "config.t.a,A,<x>",
         {{"config.t.a", "1"}},
         "<a>old</a>",
         "No registered type <i>&lt;x&gt;</i>|"},
        {"type with a blank",
         "config.t.a,A, numeric",
         {{"config.t.a", "1"}},
         "<a>old</a>",
         "No registered type <i> numeric</i>|"},
        {"no such type but nothing sent", "config.t.a,A,x", {}, "", good},
        {"empty type", "config.t.a,A,", {{"config.t.a", "new"}}, "<a>new</a>", good},
        {"what the file cannot hold",
         "config.t.a,A,distinguishedname",
         {{"config.t.a", "a\001"}},
         "<a>old</a>",
         "<i>A</i> can not contain control characters.|"},
        {"password kept", "config.t.a,A,password", {{"config.t.a", placeholder}}, "<a>old</a>", ""},
        {"password emptied", "config.t.a,A,password", {{"config.t.a", ""}}, "", good},
        {"placeholder is a text elsewhere",
         "config.t.a,A,unsafe_printable",
         {{"config.t.a", placeholder}},
         "<a>" + placeholder + "</a>",
         good},
        {"long key", "config.t.a,A,sshauthkey", {{"config.t.a", key}}, "<a>" + key + "</a>", good},
        {"longer key is cut",
         "config.t.a,A,sshauthkey",
         {{"config.t.a", key + "AA"}},
         "<a>" + key + "</a>",
         good},
    };
    for (const char *text :
         {"can not contain markup", "bad autoSave: maybe", "bad autoDelete: never"})
        expectLog(text);
    for (const auto &row : rows) {
        configure("config.t.a", "old");
        const std::string before = read(config);
        declare({row.element});
        const Response response = submit(row.fields);
        EXPECT_EQ(stored(), row.expected) << row.name;
        EXPECT_EQ(messages(response), row.messages) << row.name;
        EXPECT_EQ(read(config) == before, row.messages != good) << row.name;
    }
}

TEST_F(FormPage, ARefusedFormShowsEveryMessageAndWhatWasTyped) {
    expectLog("can not contain markup");
    for (const char *key : {"a", "b", "c", "d", "f", "g", "h"})
        configure(std::string("config.t.") + key, "old");
    configure("config.t.secret", "stored-secret");
    declare({"config.t.a,A,text", "config.t.b,B,text", "config.t.c,C,unsafe_printable",
             "config.t.d,D,sshauthkey", "config.t.f,F,boolean", "config.t.g,G,text",
             "config.t.h,H,text", "config.t.secret,S,password", "config.t.i,I,numeric"},
            "CGI_CALL(ui::getTextInput,config.t.a)CGI_CALL(ui::getTextInput,config.t.b,4)"
            "CGI_CALL(ui::getUnsafeTextInput,config.t.c,0,nodelete)"
            "CGI_CALL(ui::getUnsafeTextAreaInput,config.t.d,0,nodelete)"
            "CGI_CALL(ui::getCheckInput,config.t.f)CGI_CALL(ui::getMenuInput,config.t.g,old,new)"
            "CGI_CALL(ui::getRadioInput,config.t.h,old,new)"
            "CGI_CALL(ui::getPassInput,config.t.secret)CGI_CALL(ui::getConfirmInput,"
            "config.t.secret,config.t.again)CGI_CALL(ui::getTextInput,config.t.secret)"
            "CGI_CALL(ui::getElemValue,config.t.secret)");
    const std::string before = read(config);
    const std::string longText(2000, 'k');
    const Response response = submit({{"config.t.a", "<typed>"},
                                      {"config.t.b", "12345678"},
                                      {"config.t.c", "\"typed\""},
                                      {"config.t.d", longText},
                                      {"config.t.f", "on"},
                                      {"config.t.g", "new"},
                                      {"config.t.h", "new"},
                                      {"config.t.i", "x"},
                                      {"config.t.secret", "typed-secret"},
                                      {"config.t.again", "typed-secret"}});
    EXPECT_EQ(read(config), before);
    EXPECT_EQ(messages(response),
              "<i>A</i> can not contain markup.|"
              "<i>D</i> must be assigned a <i>SSH Authentication Key</i>. The value '<i>" +
                  longText +
                  "</i>' is invalid.|"
                  "<i>I</i> must be assigned a <i>Non-negative Integer</i>. The value '<i>x</i>' "
                  "is invalid.|");
    for (const std::string &shown :
         {std::string("name=\"config.t.a\" value=\"&lt;typed&gt;\" "),
          std::string("name=\"config.t.b\" value=\"1234\" "),
          std::string("name=\"config.t.c\" value=\"&quot;typed&quot;\" "),
          ">" + longText + "</textarea>", std::string("name=\"config.t.f\" value=\"on\" checked>"),
          std::string("<option value=\"new\" selected>"), std::string("value=\"new\" checked>new"),
          std::string("name=\"config.t.secret\" value=\"********\" "),
          std::string("name=\"config.t.again\" value=\"********\" ")})
        EXPECT_TRUE(response.has(shown)) << shown;
    EXPECT_FALSE(response.has("typed-secret"));
    EXPECT_FALSE(response.has("stored-secret"));
}

TEST_F(FormPage, TheFirstOfTwoElementsCounts) {
    declare({"config.t.a,First", "config.t.a,Second,numeric"});
    const Response response = submit({{"config.t.a", "x"}});
    EXPECT_EQ(messages(response), "Element already exists: \"config.t.a\"|");
    EXPECT_EQ(stored(), "");
}

TEST_F(FormPage, TheSystemPasswordIsStoredHashed) {
    constexpr const char *key = "config.system.password";
    declare({"config.system.password,Password,password,dontsave"});
    EXPECT_TRUE(submit({{key, "new secret"}}).has("succeeded"));
    EXPECT_NE(read(config).find("<password>$6$"), std::string::npos);
    EXPECT_EQ(read(config).find("new secret"), std::string::npos);
    const std::string before = read(config);
    EXPECT_FALSE(submit({{key, "********"}}).has("succeeded"));
    EXPECT_EQ(read(config), before);
    // Where passwords are kept in clear it is an element like any other.
    configure(key, "clear");
    EXPECT_FALSE(submit({{key, "new secret"}}).has("succeeded"));
    declare({"config.system.password,Password,password"});
    EXPECT_TRUE(submit({{key, "new secret"}}).has("succeeded"));
    EXPECT_NE(read(config).find("<password>new secret<"), std::string::npos);
}

TEST_F(FormPage, DebugLinesMaskPasswords) {
    configure("config.ui.debug", "on");
    configure("config.ui.log.trace", "on");
    expectLog("can not contain markup");
    declare({"config.t.p,P,password,dontsave", "config.t.q,Q,text",
             "config.system.password,R,text,save,dontdelete"});
    const Response response = submit({{"config.t.p", "secret<1>"},
                                      {"config.t.q", "<typed>"},
                                      {"config.system.password", "secret2"}});
    EXPECT_TRUE(response.has(
        "Form Element: <b>config.t.p</b> = '<i>********</i>' {<b>type</b>:'<i>password</i>', "
        "<b>autoSave</b> <i>off</i>, </i> <b>autoDelete</b> <i>off</i>}"));
    EXPECT_TRUE(response.has("Form Element: <b>config.t.q</b> = '<i>&lt;typed&gt;</i>' "));
    EXPECT_NE(log().find("Form Element: config.t.p = '********' {type:password, autoSave:0 "
                         "autoDelete:0}"),
              std::string::npos);
    EXPECT_FALSE(response.has("secret"));
    EXPECT_EQ(log().find("secret"), std::string::npos);
}

} // namespace
} // namespace zandorin::test
