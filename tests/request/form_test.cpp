#include "tests/support/request_test.h"

#include <regex>

namespace zandorin::test {
namespace {

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
    Response submit(const Fields &fields) {
        return post(formData("form=t&apply=Apply") + fields, cookie_);
    }
    /// The stored element of config.t, without white space between elements.
    std::string stored() const {
        const std::string text = configuration();
        const auto start = text.find("<t>");
        return start == std::string::npos
                   ? ""
                   : std::regex_replace(text.substr(start + 3, text.find("</t>") - start - 3),
                                        std::regex("\n *"), "");
    }
    /// The texts of the boxes before the page, each ended by "|".
    static std::string messages(const Response &response) {
        const std::string start = "<html><body bgcolor=\"#FFFFFF\"><p class=\"";
        std::string text = response.part("<div style=\"word-break:break-all\">", "<br/>\n[");
        for (const std::string &piece :
             {std::string("<div style=\"word-break:break-all\">"),
              std::string("</p></body></html>"),
              start + "error-message\"><font color=\"#E20303\"><b>Error</b></font> ",
              start + "info-message\"><font color=\"#0000FF\"><b>Message</b></font> ",
              std::string("<br/>\n["), std::string("</div>")})
            for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece))
                text.replace(at, piece.size(), piece == "</div>" ? "|" : "");
        return text;
    }

    std::string cookie_;
};

TEST_F(FormPage, OneElement) {
    const std::string good = "Changes to configuration succeeded.|";
    const std::string markup = "<i>A</i> can not contain markup.|";
    const std::string old = "<a>old</a>";
    const std::string fresh = "<a>new</a>";
    const std::string key = "ssh-ed25519 " + std::string(16383 - 12, 'A');
    const std::string stars = "********";
    const std::string keep = ",text,save,dontdelete";
    const std::string x255(255, 'x');
    const struct {
        const char *name;
        std::string element; ///< config.t.a with its label, and this
        std::optional<std::string> sent;
        std::string expected; ///< what is stored
        std::string messages;
        bool box = false; ///< that deletes
    } rows[] = {
        {"saved", "", "new", fresh, good},
        {"255 bytes", "", x255 + x255, "<a>" + x255 + "</a>", good},
        {"absent deletes", "", {}, "", good},
        {"empty deletes", ",text,save,delete", "", "", good},
        {"dontdelete", keep, {}, old, ""},
        {"dontsave", ",text,dontsave,delete", "new", old, ""},
        {"dontsave implies dontdelete", ",text,DontSave", {}, old, ""},
        {"dontsave with delete", ",text,dontsave,DELETE", {}, "", good},
        {"bad words", ",text,maybe,never", {}, "", good},
        {"the box deletes", keep, "", "", good, true},
        {"a new value beats the box", keep, "new", fresh, good, true},
        {"no box for what is not saved", ",text,dontsave", {}, old, "", true},
        {"markup", ",text", "<b>", old, markup},
        {"markup for a type without", ",printable", "x&y", old, markup},
        {"markup for a type with", ",unsafe_printable", "<b>\"&'", "<a>&lt;b&gt;\"&amp;'</a>",
         good},
        {"bad value is shown escaped", ",netmask", "<b>", old,
         "<i>A</i> must be assigned a <i>Network Mask</i>. The value '<i>&lt;b&gt;</i>' is "
         "invalid.|"},
        {"no such type", ",<x>", "1", old, "No registered type <i>&lt;x&gt;</i>|"},
        {"type with a blank", ", numeric", "1", old, "No registered type <i> numeric</i>|"},
        {"no such type but nothing sent", ",x", {}, "", good},
        {"empty type", ",", "new", fresh, good},
        {"what the file cannot hold", ",distinguishedname", "a\001", old,
         "<i>A</i> can not contain control characters.|"},
        {"password kept", ",password", stars, old, ""},
        {"password emptied", ",password", "", "", good},
        {"placeholder is a text elsewhere", ",unsafe_printable", stars, "<a>" + stars + "</a>",
         good},
        {"long key", ",sshauthkey", key, "<a>" + key + "</a>", good},
        {"longer key is cut", ",sshauthkey", key + "AA", "<a>" + key + "</a>", good},
    };
    for (const char *text :
         {"can not contain markup", "bad autoSave: maybe", "bad autoDelete: never"})
        expectLog(text);
    for (const auto &row : rows) {
        configure("config.t.a", "old");
        const std::string before = configuration();
        declare({" config.t.a ,A" + row.element}); // the name is trimmed
        Fields fields;
        if (row.sent)
            fields.emplace_back("config.t.a", *row.sent);
        if (row.box)
            fields.emplace_back("config.t.a.delete", "on");
        const Response response = submit(fields);
        EXPECT_EQ(stored(), row.expected) << row.name;
        EXPECT_EQ(messages(response), row.messages) << row.name;
        EXPECT_EQ(configuration() == before, row.messages != good) << row.name;
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
    const std::string before = configuration();
    const std::string longText(2000, 'k');
    const Response response = submit(formData(
        "config.t.a=<typed>&config.t.b=12345678&config.t.c=\"typed\"&config.t.d=" + longText +
        "&config.t.f=on&config.t.g=new&config.t.h=new&config.t.i=x&"
        "config.t.secret=typed-secret&config.t.again=typed-secret"));
    EXPECT_EQ(configuration(), before);
    EXPECT_EQ(messages(response),
              "<i>A</i> can not contain markup.|<i>D</i> must be assigned a <i>SSH Authentication "
              "Key</i>. The value '<i>" +
                  longText +
                  "</i>' is invalid.|<i>I</i> must be assigned a <i>Non-negative Integer</i>. The "
                  "value '<i>x</i>' is invalid.|");
    EXPECT_EQ(
        response.lacks(
            {"name=\"config.t.a\" value=\"&lt;typed&gt;\" ", "name=\"config.t.b\" value=\"1234\" ",
             "name=\"config.t.c\" value=\"&quot;typed&quot;\" ", ">" + longText + "</textarea>",
             "name=\"config.t.f\" value=\"on\" checked>", "<option value=\"new\" selected>",
             "value=\"new\" checked>new", "name=\"config.t.secret\" value=\"********\" ",
             "name=\"config.t.again\" value=\"********\" "}),
        "");
    EXPECT_EQ(response.holds({"typed-secret", "stored-secret"}), "");
}

TEST_F(FormPage, TheFirstOfTwoElementsCounts) {
    declare({"config.t.a,First", "config.t.a,Second,numeric"});
    const Response response = submit({{"config.t.a", "x"}});
    EXPECT_EQ(messages(response), "Element already exists: \"config.t.a\"|");
    EXPECT_EQ(stored(), "");
}

TEST_F(FormPage, TheSystemPasswordIsStoredHashed) {
    constexpr const char *key = "config.system.password";
    const auto set = [&](const char *password) {
        return submit({{key, password}}).has("succeeded");
    };
    declare({"config.system.password,Password,password,dontsave"});
    EXPECT_TRUE(set("new secret"));
    EXPECT_NE(configuration().find("<password>$6$"), std::string::npos);
    EXPECT_EQ(configuration().find("new secret"), std::string::npos);
    const std::string before = configuration();
    EXPECT_FALSE(set("********"));
    EXPECT_EQ(configuration(), before);
    // Where passwords are kept in clear it is an element like any other.
    configure(key, "clear");
    EXPECT_FALSE(set("new secret"));
    declare({"config.system.password,Password,password"});
    EXPECT_TRUE(set("new secret"));
    EXPECT_NE(configuration().find("<password>new secret<"), std::string::npos);
}

TEST_F(FormPage, DebugLinesMaskPasswords) {
    configure(formData("config.ui.debug=on&config.ui.log.trace=on"));
    expectLog("can not contain markup");
    declare({"config.t.p,P,password,dontsave", "config.t.q,Q,text",
             "config.system.password,R,text,save,dontdelete"});
    const Response response =
        submit(formData("config.t.p=secret<1>&config.t.q=<typed>&config.system.password=secret2"));
    EXPECT_EQ(response.lacks(
                  {"Form Element: <b>config.t.p</b> = '<i>********</i>' {<b>type</b>:'<i>password"
                   "</i>', <b>autoSave</b> <i>off</i>, </i> <b>autoDelete</b> <i>off</i>}",
                   "Form Element: <b>config.t.q</b> = '<i>&lt;typed&gt;</i>' "}),
              "");
    EXPECT_NE(log().find("Form Element: config.t.p = '********' {type:password, autoSave:0 "
                         "autoDelete:0}"),
              std::string::npos);
    EXPECT_EQ((response.body + log()).find("secret"), std::string::npos);
}

} // namespace
} // namespace zandorin::test
