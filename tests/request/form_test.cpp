#include "tests/support/request_test.h"

namespace zandorin::test {
namespace {

/// A page of templates whose elements are those of the row.
class FormPage : public RequestTest {
  protected:
    FormPage() { addPage("t", "", ""); }

    void declare(const std::vector<std::string> &elements, std::string_view frm = "") const {
        std::string def;
        for (const std::string &element : elements)
            def += "CGI_CALL(ui::addElement," + element + ")";
        put("/home/httpd/forms/t.def", def);
        put("/home/httpd/forms/t.frm", frm);
    }
    Response submit(const Fields &fields) { return post(formData("form=t&apply=Apply") + fields); }
    static std::string messages(const Response &response) {
        return response.boxes("[a-z]+-message");
    }
};

TEST_F(FormPage, OneElement) {
    const std::string good = "Changes to configuration succeeded.";
    const std::string markup = "<i>A</i> can not contain markup.";
    const std::string old = "old";
    const std::string fresh = "new";
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
        {"255 bytes", "", x255 + x255, x255, good},
        {"absent deletes", "", {}, "", good},
        {"dontdelete", keep, {}, old, ""},
        {"dontsave", ",text,dontsave,delete", "new", old, ""},
        {"dontsave implies dontdelete", ",text,DontSave", {}, old, ""},
        {"dontsave with delete", ",text,dontsave,DELETE", {}, "", good},
        {"bad words", ",text,maybe,never", {}, "", good},
        {"the box deletes", keep, "", "", good, true},
        {"a new value beats the box", keep, "new", fresh, good, true},
        {"no box for what is not saved", ",text,dontsave", {}, old, "", true},
        {"markup for a type without", ",printable", "x&y", old, markup},
        {"markup for a type with", ",unsafe_printable", "<b>\"&'", "<b>\"&'", good},
        {"bad value is shown escaped", ",netmask", "<b>", old,
         "<i>A</i> must be assigned a <i>Network Mask</i>. The value '<i>&lt;b&gt;</i>' is "
         "invalid."},
        {"no such type", ",<x>", "1", old, "No registered type <i>&lt;x&gt;</i>"},
        {"no such type but nothing sent", ",x", {}, "", good},
        {"empty type", ",", "new", fresh, good},
        {"what the file cannot hold", ",distinguishedname", "a\001", old,
         "<i>A</i> can not contain control characters."},
        {"password kept", ",password", stars, old, ""},
        {"password emptied", ",password", "", "", good},
        {"placeholder is a text elsewhere", ",unsafe_printable", stars, stars, good},
        {"longer key is cut", ",sshauthkey", key + "AA", key, good},
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
        EXPECT_EQ(stored("config.t.a"), row.expected) << row.name;
        EXPECT_EQ(messages(response), row.messages) << row.name;
        EXPECT_EQ(configuration() == before, row.messages != good) << row.name;
    }
}

TEST_F(FormPage, ARefusedFormShowsEveryMessageAndWhatWasTyped) {
    expectLog("can not contain markup");
    configure(formData("config.t.d=old&config.t.f=old&config.t.g=old&config.t.h=old&"
                       "config.t.secret=stored-secret"));
    declare({"config.t.a,A,text", "config.t.b,B,text", "config.t.d,D,sshauthkey",
             "config.t.f,F,boolean", "config.t.g,G,text", "config.t.h,H,text",
             "config.t.secret,S,password", "config.t.i,I,numeric"},
            "CGI_CALL(ui::getTextInput,config.t.a)CGI_CALL(ui::getTextInput,config.t.b,4)"
            "CGI_CALL(ui::getUnsafeTextAreaInput,config.t.d,0,nodelete)"
            "CGI_CALL(ui::getCheckInput,config.t.f)CGI_CALL(ui::getMenuInput,config.t.g,old,new)"
            "CGI_CALL(ui::getRadioInput,config.t.h,old,new)"
            "CGI_CALL(ui::getPassInput,config.t.secret)CGI_CALL(ui::getConfirmInput,"
            "config.t.secret,config.t.again)CGI_CALL(ui::getElemValue,config.t.secret)");
    const std::string before = configuration();
    const std::string longText(2000, 'k');
    const Response response =
        submit(formData("config.t.a=<typed>&config.t.b=12345678&config.t.d=" + longText +
                        "&config.t.f=on&config.t.g=new&config.t.h=new&config.t.i=x&"
                        "config.t.secret=typed-secret&config.t.again=typed-secret"));
    EXPECT_EQ(configuration(), before);
    EXPECT_EQ(messages(response),
              "<i>A</i> can not contain markup.|<i>D</i> must be assigned a <i>SSH Authentication "
              "Key</i>. The value '<i>" +
                  longText +
                  "</i>' is invalid.|<i>I</i> must be assigned a <i>Non-negative Integer</i>. The "
                  "value '<i>x</i>' is invalid.");
    EXPECT_EQ(response.lacks({"name=\"config.t.a\" value=\"&lt;typed&gt;\" ",
                              "name=\"config.t.b\" value=\"1234\" ", ">" + longText + "</textarea>",
                              "name=\"config.t.f\" value=\"on\" checked>",
                              "<option value=\"new\" selected>", "value=\"new\" checked>new",
                              "name=\"config.t.secret\" value=\"********\" ",
                              "name=\"config.t.again\" value=\"********\" "}),
              "");
    EXPECT_EQ(response.holds({"typed-secret", "stored-secret"}), "");
}

TEST_F(FormPage, TheSystemPasswordIsStoredHashed) {
    constexpr const char *key = "config.system.password";
    const auto set = [&](const char *password) {
        submit({{key, password}});
        return stored(key);
    };
    declare({"config.system.password,Password,password,dontsave"});
    const std::string hash = set("new secret");
    EXPECT_TRUE(hash.starts_with("$6$")) << hash;
    EXPECT_EQ(set("********"), hash);
    // Where passwords are kept in clear it is an element like any other.
    configure(key, "clear");
    EXPECT_EQ(set("new secret"), "clear");
    declare({"config.system.password,Password,password"});
    EXPECT_EQ(set("new secret"), "new secret");
}

class Attempts : public RequestTest {
  protected:
    Attempts() {
        putProgram("/bin/zandorin-services", R"(tr '\0' ' ' <"$4"; echo "<$1 $2 $3>"
! grep -aq refused "$4")");
        configure("config.system.smtp.password", "old-secret");
    }
    Response tried(const Fields &fields) {
        return post(Fields{{"form", "smtp"}, {"try", "Send a Test Mail"}} + fields);
    }
};

TEST_F(Attempts, HandOnWhatIsTypedAndChangeNothing) {
    const std::string before = configuration();
    const Response good = tried({{"config.system.smtp.server", "mail.example"},
                                 {"config.system.smtp.password", "********"},
                                 {"config.system.smtp.confirm", "********"},
                                 {"config.try.to", "anna@example.net"}});
    EXPECT_EQ(good.lacks({"config.system.smtp.server mail.example",
                          "config.try.to anna@example.net", "&lt;try smtp mail&gt;",
                          "value=\"mail.example\"", "value=\"anna@example.net\""}),
              "");
    EXPECT_EQ(good.holds({"old-secret"}), "");

    const Response refused = tried({{"config.try.to", "refused@example.net"}});
    EXPECT_NE(refused.boxes(), "") << "the service's own refusal";
    // What the page refuses never gets there.
    const Response wrong = tried({{"config.system.smtp.port", "none"}});
    EXPECT_FALSE(wrong.has("&lt;try"));
    EXPECT_TRUE(wrong.has("value=\"none\""));
    EXPECT_EQ(configuration(), before);
    for (const auto &[path, contents] : files())
        EXPECT_EQ(path.find("/.try-"), std::string::npos) << path;
}

} // namespace
} // namespace zandorin::test
