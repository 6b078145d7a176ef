#include "tests/support/appliance_test.h"
#include "tests/support/log_capture.h"
#include "types/elem_type.h"
#include "types/predicates.h"

namespace zandorin {
namespace {

using namespace std::string_literals;

const std::string ssh_body = " AAAAB3NzaC1yc2E/+09";

/// The values between "|".
std::vector<std::string> list(const std::string &text) {
    std::vector<std::string> values;
    for (std::size_t start = 0; start <= text.size(); start += values.back().size() + 1)
        values.push_back(text.substr(start, text.find('|', start) - start));
    return values;
}

const struct {
    const char *type;
    std::vector<std::string> accepted, refused;
} rows[] = {
    {"alphanum", list("|aZ09.-_"), list("a b|a+|a\0b"s)},
    {"printablesafe", list("|aZ09 ,./@:_-=$+&<>\"'"), list(";|!|\t")},
    {"printablesafesemicolon", list("|a;b ,./@:_-=$+&<>\"'"), list("!|`|\n")},
    {"boolean", list("on|off|ON|Off"), list("|yes|on |on\0"s)},
    {"nic", list("wan|lan|oobfo|wlan|dialout|dialin|vpn|any"), list("|WAN|eth0")},
    {"firewalldirection", list("ingress|egress"), list("|Ingress|in")},
    {"firewalltcpprotocol", list("tcp|udp|tcp&udp|tcpandudp|icmp|gre|esp|any"), list("|TCP|sctp")},
    {"ssh_delimiter", list("|;| |~"), list("`|'|\"|ab|\t")},
    {"userposix", list("a|0|a.b_c-d"), list("|-a|_a|a@b|a\0b|a\n"s)},
    {"username", list("root|a.b@example.com"), list("-a|a@b|a!")},
    {"snmpusername", list("|a-b_C9"), list("a.b|a b")},
    {"printable", list("| ~"), list("a\nb|\x7f|\x80")},
    {"multiline_printable", list("|a\r\n\t\v\f b"), list("a\bb|\x7f|\xff|\0"s)},
    {"unsafe_printable_braces", list("|(x)|az ,-./09:@AZ_$+()"), list("{x}|<|a&b|=|'|`")},
    {"phonenumber",
     {"", " , ", "+123", "(02)1234", "111,222 333", "s\\.",
      "1.2.3.4.5.6.7.8.9.0.1.2.3.4.5.6.7.8.9.0.1.2.3.4", std::string(200, '1')},
     list("12|555-1234|++123|+|123,4|123\0|1.2.3.4.5.6.7.8.9.0.1.2.3.4.5.6.7.8.9.0.1.2.3.4.5"s)},
    {"asciigraphical", list("|!~<>"), list("a b|\x7f|\x80|\0"s)},
    {"filename", list("|a b-c_d.e9|.."), list("a/b|a:b")},
    {"email", list("|a@b.de, c@d.org|a.b_c-d\\@e-f.g.info|a@[1.2.3.4]|a@b.123|a@b.de]"),
     list("a|a@b|@b.de|a@b..de|a+b@c.de|a@b.museum|a@b_c.de|a@b.de, c|a@b.de\0"s)},
    {"ipsectunnelid", list("%fromcert|%none|%myid|10.0.0.1|::1|@example.com|a@example.com|host"),
     list("%other|%|@|@1.2|1.2.3|%myid\0"s)},
    {"numeric", {"", "007", std::string(300, '9')}, list("-5|+5| 5|1.0|5\0"s)},
    {"integer", list("|-5|5"), list("-|--5|+5|5-")},
    {"unsigned16bit", list("|abc|65535|-0|80x| 80"),
     list("65536|-1|4294967376|18446744073709551616|-99999999999999999999")},
    {"tcpport", list("1|65535|80x|+80"), list("|0|65536|4294967376|99999999999999999999")},
    {"tcpportrange", list("22|1000-2000|22-22|--80--90|1-65535|1-2-zzz|80-"),
     list("|-|0-10|2000-1000|22-65536|22-x|4294967297-4294967300|22-99999999999999999999")},
    {"port", list("1|65534|00080"), list("|0|65535|+80|80x| 80|4294967376|80\0"s)},
    {"netmask_ipv4_cidr", list("|0|32"), list("33|-1|4294967296|24x")},
    {"netmask_cidr", list("|0|128"), list("129|-1|/24")},
    {"mac", list("|00:0a:F7:ff:0:1|:00:11:22:33:44:55:|0x1:+2: 3:4:5:-0"),
     list(":|00:11:22:33:44|00:11:22:33:44:55:66|00:11:22:33:44:5g|00:11:22:33:44:100|"
          "00:11:22:33:44:-1|00:11:22:33:44:55\0|00:11:22:33:44:10000000000000001"s)},
    {"ipv4", list("0.0.0.0|255.255.255.255"), list("|1.2.3|1.2.3.256|1.2.3.4/8|::1|1.2.3.4\0x"s)},
    {"ipv6", list("::1|[fe80::1]|2001:db8::192.0.2.1"),
     list("|[]|[::1|::1]|[[::1]]|fe80::1%eth0|10.0.0.1|::1\0"s)},
    {"ip", list("10.0.0.1|[::1]"), list("|host")},
    {"hostname", list("1a|a.b-c|-a|a."), list("|123|1.2.3.4|my_host|\xe9t\xe9|a\0"s)},
    {"address", list("10.0.0.1|::1|a.b"), list("|1.2.3|a_b")},
    {"addresslist", list("a|a,10.0.0.1,::1"), list("|a,,b|a,|,a")},
    {"addressportlist", list("a:80|10.0.0.1:65534|::1|[::1]:80|a:1,[::1]:2,b|::1:80"),
     list("|a:|a:0|:80|[a]:80|1:2:3:4:5:6:7:8:80|a:80:90|a:80,|[::1:80")},
    {"netmask", list("|24|128|255.255.0.0|ffff::"), list("129|255.255.0")},
    {"subnet", list("10.0.0.0/8|10.0.0.0/255.0.0.0|[fe80::]/64|net/128"),
     list("|/|10.0.0.0|10.0.0.0/|/8|10.0.0.0/129|10.0.0.0/8/8")},
    {"subnetlist", list("10.0.0.0/8|10.0.0.0/8,::/0"), list("|10.0.0.0/8,a")},
    {"iporsubnet", list("10.0.0.1|10.0.0.0/8"), list("|a")},
    {"sshauthkey",
     {"ssh-ed25519" + ssh_body + "== me@host \xe9", "ecdsa-sha2-nistp256" + ssh_body + "=",
      "ecdsa-sha2-nistp521" + ssh_body, "ssh-rsa-cert-v01@openssh.com" + ssh_body},
     {"", "ssh-rsa ", "ssh-dss" + ssh_body, "ecdsa-sha2-nistp255" + ssh_body, " ssh-rsa" + ssh_body,
      "ssh-rsa" + ssh_body + "===", "ssh-rsa" + ssh_body + "\nx",
      "ssh-rsa-cert-v01@opensshxcom" + ssh_body, "ssh-rsa" + ssh_body + "\0"s}},
};

TEST(ElemTypes, AcceptAndRefuse) {
    for (const auto &row : rows) {
        const FormElemType *type = ElemTypeRegistry::find(row.type);
        ASSERT_NE(type, nullptr) << row.type;
        for (const std::string &value : row.accepted)
            EXPECT_TRUE(type->validator(value)) << row.type << " '" << value << "'";
        for (const std::string &value : row.refused)
            EXPECT_FALSE(type->validator(value)) << row.type << " '" << value << "'";
    }
}

TEST(ElemTypes, AreAllThereAndAgreeAboutMarkup) {
    std::set<std::string> withoutMarkup;
    for (const auto &[name, type] : ElemTypeRegistry::entries()) {
        EXPECT_NE(type.description, "") << name;
        if (!type.allowMarkup)
            withoutMarkup.emplace(name);
    }
    EXPECT_EQ(withoutMarkup,
              (std::set<std::string>{"asciigraphical", "boolean", "email", "firewalldirection",
                                     "firewalltcpprotocol", "integer", "mac", "multiline_printable",
                                     "nic", "numeric", "phonenumber", "printable", "tcpport",
                                     "tcpportrange", "unsigned16bit"}));
    EXPECT_EQ(ElemTypeRegistry::entries().size(), 48U);
    EXPECT_EQ(ElemTypeRegistry::find("IPv4"), nullptr);
    EXPECT_TRUE(isValidDN("\0\xff\n"s) && isValidPassword("\0\xff\n"s));
    ElemTypeRegistry::add("ipv4", {"another", isValidPassword, false});
    EXPECT_EQ(ElemTypeRegistry::find("ipv4")->description, "IPv4 Address");
}

TEST(ElemTypes, AnswerLongHostileValuesAtOnce) {
    const auto start = std::chrono::steady_clock::now();
    for (const char *piece :
         {"1", "1.", ".", "a.", "a@", "a@a.", "a, ", ":", "-1", "ssh-rsa A", "["}) {
        std::string value;
        while (value.size() < 16383)
            value += piece;
        for (const auto &[name, type] : ElemTypeRegistry::entries())
            type.validator(value);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(ElemTypes, IpsecIdentityIsLoggedWithWhatItIs) {
    const test::LogCapture log;
    for (const std::string line :
         {"Valid magic value found: %none", "Valid IP Address found: 10.0.0.1",
          "Valid domain preceeded by'@' found: @a.de", "Valid email type ID found: a@b.de",
          "Valid domain with no '@' found: a.de"}) {
        EXPECT_TRUE(isValidIpsecId(line.substr(line.rfind(' ') + 1))) << line;
        EXPECT_EQ(log.records().back(), "600 " + line);
    }
}

using UnixFile = test::ApplianceTest;

TEST_F(UnixFile, IsARegularFileOfTheApplianceOrALinkToOne) {
    put("/etc/file", "x");
    std::filesystem::create_symlink("file", onHost("/etc/link"));
    std::filesystem::create_symlink("none", onHost("/etc/dangling"));
    EXPECT_TRUE(isValidUnixFilePath("/etc/file"));
    EXPECT_TRUE(isValidUnixFilePath("/etc/link"));
    const std::string host = onHost("/etc/file");
    for (const std::string &path : {""s, "/etc"s, "/etc/dangling"s, "/etc/none"s, "etc/file"s,
                                    "/etc/file/"s, "/etc/file\0"s, host})
        EXPECT_FALSE(isValidUnixFilePath(path)) << path;
}

} // namespace
} // namespace zandorin
