#include "cgi/upload.h"
#include "tests/support/cgi_request.h"
#include "tests/support/log_capture.h"

#include <sys/stat.h>

namespace zandorin {
namespace {

using test::CgiRequest;

class Upload : public test::ApplianceTest {
  protected:
    /// Uploads one file under the given name; what the request's errors are then.
    std::vector<std::string> upload(const std::string &fileName, const std::string &value,
                                    const std::string &destination) {
        const std::string body = CgiRequest::part(
            "Content-Disposition: form-data; name=\"f\"; filename=\"" + fileName + "\"", value);
        CgiRequest request(CgiRequest::multipart(body), body);
        const auto cgi = request.open();
        stored_ = uploadFile(*cgi, "f", onHost(destination), 0640);
        return cgi->getErrors();
    }

    bool stored_ = false;
};

TEST_F(Upload, StoresAllBytesWithTheMode) {
    const mode_t before = ::umask(077);
    const std::string data("\0\xff\r\n\0", 5);
    upload("a", data, "/new");
    EXPECT_TRUE(stored_);
    EXPECT_EQ(read("/new"), data);
    EXPECT_EQ(modeOf("/new"), 0640U);
    EXPECT_EQ(::umask(before), 077U);
}

TEST_F(Upload, Failures) {
    const test::LogCapture log(Priority::error);
    upload("a", "", "/x");
    EXPECT_TRUE(log.has("300 File variable 'f' has length 0"));
    EXPECT_EQ(upload("a", "x", "/none/x"),
              std::vector<std::string>{"Unable to determine size of config filesystem"});
    EXPECT_TRUE(log.has("0 Couldn't stat " + onHost("/none") + ": No such file or directory"));

    makeFolder("/folder");
    const mode_t before = ::umask(022);
    upload("a", "x", "/folder");
    EXPECT_FALSE(stored_);
    EXPECT_EQ(::umask(before), 0U);
    EXPECT_TRUE(log.has("0 Failedto create file: " + onHost("/folder") + ": Is a directory"));
}

TEST(UploadRoom, KeepsFiftyBlocksFree) {
    struct statvfs fileSystem = {};
    fileSystem.f_frsize = 1024;
    fileSystem.f_bavail = 59;
    EXPECT_FALSE(hasRoomFor(fileSystem, 10 * 1024));
    EXPECT_TRUE(hasRoomFor(fileSystem, 10 * 1024 - 1));
}

} // namespace
} // namespace zandorin
