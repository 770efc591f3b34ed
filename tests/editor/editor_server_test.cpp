// vkd edit as a person starts it: the built program serves a dataset on a free port, and
// requests come over HTTP, the refused ones included.

#include "editor_server.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "support/run_tool.h"
#include "support/sample_project.h"
#include "support/temp_folder.h"
#include "vxkd/dataset/project.h"
#include "vxkd/foundation/startup.h"

namespace {

using json = nlohmann::json;

// A running `vkd edit FILE`; ended with SIGTERM when destroyed.
class EditServer {
 public:
  explicit EditServer(const std::string& file, std::vector<std::string> extra = {}) {
    int out[2];
    if (pipe(out) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      dup2(out[1], 1);
      close(out[0]);
      std::vector<std::string> args = {VXKD_VKD_PROGRAM, "edit", file};
      args.insert(args.end(), extra.begin(), extra.end());
      std::vector<char*> argv;
      for (auto& a : args) argv.push_back(a.data());
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
    }
    close(out[1]);
    // The address is on the second line of what it prints first.
    std::string text;
    char c;
    int lines = 0;
    while (lines < 2 && read(out[0], &c, 1) == 1) {
      text += c;
      if (c == '\n') ++lines;
    }
    out_ = out[0];
    std::smatch m;
    if (std::regex_search(text, m,
                          std::regex("http://127\\.0\\.0\\.1:(\\d+)/\\?token=([0-9a-f]+)"))) {
      port = std::stoi(m[1]);
      token = m[2];
    }
  }
  ~EditServer() { stop(); }
  // Ends the server; its exit status.
  int stop() {
    if (pid_ <= 0) return -1;
    kill(pid_, SIGTERM);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    close(out_);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  httplib::Client client() const {
    httplib::Client c("127.0.0.1", port);
    c.set_connection_timeout(5);
    return c;
  }
  std::string cookie() const { return "vkd_edit_" + std::to_string(port) + "=" + token; }
  httplib::Headers own() const {
    return {{"Cookie", cookie()}, {"Origin", "http://127.0.0.1:" + std::to_string(port)}};
  }

  int port = 0;
  std::string token;

 private:
  pid_t pid_ = -1;
  int out_ = -1;
};

class EditServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VxKd::initVxKd();
    ASSERT_TRUE(vxkd_test::saveSampleDataset(dir_.path(L"sample.vkd")));
    VxKd::exitVxKd();
  }
  std::string file() const { return dir_.native("sample.vkd"); }
  std::string properties() const { return vxkd_test::runVkd({"list", file(), "properties"}).out; }
  vxkd_test::TempFolder dir_;
};

const json kLength = {{"name", "Length"}, {"valueType", 5}, {"unit", 12}, {"decimals", 2}};

TEST_F(EditServerTest, TheTokenOfThePrintedAddressBecomesACookie) {
  EditServer server(file());
  ASSERT_GT(server.port, 0);
  EXPECT_EQ(server.token.size(), 64u);
  auto client = server.client();
  auto first = client.Get(("/?token=" + server.token).c_str());
  ASSERT_TRUE(first);
  EXPECT_EQ(first->status, 303);
  const std::string setCookie = first->get_header_value("Set-Cookie");
  EXPECT_EQ(setCookie.rfind(server.cookie() + ";", 0), 0u) << setCookie;
  EXPECT_NE(setCookie.find("HttpOnly"), std::string::npos);
  EXPECT_NE(setCookie.find("SameSite=Strict"), std::string::npos);

  auto page = client.Get("/", {{"Cookie", server.cookie()}});
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
  EXPECT_NE(page->body.find("editor.js"), std::string::npos);
  EXPECT_NE(page->get_header_value("Content-Security-Policy").find("default-src 'none'"),
            std::string::npos);
  auto script = client.Get("/editor.js", {{"Cookie", server.cookie()}});
  ASSERT_TRUE(script);
  EXPECT_EQ(script->get_header_value("Content-Type").rfind("text/javascript", 0), 0u);

  auto added = client.Post("/api/propertyDefs", server.own(), kLength.dump(), "application/json");
  ASSERT_TRUE(added);
  EXPECT_EQ(added->status, 201) << added->body;
  EXPECT_NE(properties().find("Length"), std::string::npos);
  EXPECT_EQ(server.stop(), 0);
}

// Each refusal comes before the request reaches the dataset.
struct Refused {
  const char* what;
  int status;
  std::function<httplib::Headers(const EditServer&)> headers;
};

void PrintTo(const Refused& refused, std::ostream* out) { *out << refused.what; }

class RefusedRequestTest : public EditServerTest, public ::testing::WithParamInterface<Refused> {};

TEST_P(RefusedRequestTest, ChangesNothing) {
  EditServer server(file());
  ASSERT_GT(server.port, 0);
  auto client = server.client();
  const httplib::Headers headers = GetParam().headers(server);
  auto reply = client.Post("/api/propertyDefs", headers, kLength.dump(), "application/json");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, GetParam().status);
  EXPECT_FALSE(reply->get_header_value("Content-Security-Policy").empty());
  auto read = client.Get("/api/propertyDefs", headers);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->status, GetParam().status);
  EXPECT_EQ(read->body.find("Width"), std::string::npos);
  EXPECT_EQ(properties().find("Length"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Requests, RefusedRequestTest,
    ::testing::Values(
        Refused{"NoToken", 401, [](const EditServer&) { return httplib::Headers{}; }},
        Refused{"WrongToken", 401,
                [](const EditServer& s) {
                  std::string wrong = s.token;
                  wrong[0] = wrong[0] == 'a' ? 'b' : 'a';
                  return httplib::Headers{
                      {"Cookie", "vkd_edit_" + std::to_string(s.port) + "=" + wrong}};
                }},
        Refused{"ForeignHost", 421,
                [](const EditServer& s) {
                  return httplib::Headers{{"Cookie", s.cookie()},
                                          {"Host", "rebound.example:" + std::to_string(s.port)}};
                }},
        Refused{
            "ForeignOrigin", 403,
            [](const EditServer& s) {
              return httplib::Headers{{"Cookie", s.cookie()}, {"Origin", "http://evil.example"}};
            }},
        Refused{"CrossSiteFetch", 403,
                [](const EditServer& s) {
                  return httplib::Headers{{"Cookie", s.cookie()}, {"Sec-Fetch-Site", "cross-site"}};
                }}),
    [](const auto& info) { return std::string(info.param.what); });

TEST_F(EditServerTest, AnUploadOverTheLimitIsRefusedAndNothingIsImported) {
  EditServer server(file());
  ASSERT_GT(server.port, 0);
  std::string lin = "*HUGE,Huge\nA,.5,-.25\n";
  lin += std::string(2 << 20, ';');
  auto reply =
      server.client().Post("/api/linetypes/import", server.own(), lin, "application/octet-stream");
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->status, 413);
  EXPECT_EQ(vxkd_test::runVkd({"list", file(), "linetypes"}).out.find("HUGE"), std::string::npos);
}

TEST_F(EditServerTest, ASourceDatasetOverTheUploadLimitIsStillCompared) {
  // The sample with thousands of products more: a real catalogue is larger than the 1 MiB
  // that holds LIN and STY files.
  const std::string source = dir_.native("source.vkd");
  {
    VxKd::initVxKd();
    CKdProject project;
    ASSERT_TRUE(project.readDb(nullptr, CWsz::fromUtf8(file().c_str())));
    CKdProductDefArray& products = project.productGroups().findGroup(2)->products();
    const CKdProductDef model = *products.objAt(0);
    for (int i = 0; i < 2000; ++i) {
      CKdProductDef product = model;
      product.setDbId(100 + i);
      CKdGuid guid;
      guid.createValue();
      product.setGuid(guid);
      product.setDesc(
          CWsz::fromUtf8(("Grille " + std::to_string(i) + std::string(600, '.')).c_str()));
      products.append(&product);
    }
    ASSERT_TRUE(project.saveDbAs(nullptr, CWsz::fromUtf8(source.c_str())));
    VxKd::exitVxKd();
  }
  std::ifstream in(source, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  ASSERT_GT(bytes.size(), 1u << 20);

  EditServer server(file());
  ASSERT_GT(server.port, 0);
  auto client = server.client();
  client.set_read_timeout(120);  // the comparison of thousands of products, on a busy machine
  auto reply = client.Post("/api/merge/source?name=source.vkd", server.own(), bytes,
                           "application/octet-stream");
  ASSERT_TRUE(reply);
  ASSERT_EQ(reply->status, 200) << reply->body.substr(0, 300);
  EXPECT_TRUE(json::parse(reply->body)["merge"].is_object());
}

TEST_F(EditServerTest, WrongCommandLinesAreAnsweredWithTheirReason) {
  auto run = vxkd_test::runVkd({"edit", dir_.native("missing.vkd")});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("cannot read"), std::string::npos) << run.err;
  run = vxkd_test::runVkd({"edit", "--port", "http", file()});
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("--port takes a number"), std::string::npos) << run.err;
  run = vxkd_test::runVkd({"edit", "--port", "70000", file()});
  EXPECT_EQ(run.status, 2);
  run = vxkd_test::runVkd({"edit", "--address", "300.1.1.1", file()});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("cannot listen"), std::string::npos) << run.err;
  run = vxkd_test::runVkd({"list", "--port", "80", file(), "properties"});
  EXPECT_EQ(run.status, 2);
}

struct HeaderCase {
  const char* host;
  const char* origin;
  const char* site;
  const char* cookie;
  vkdedit::Refusal expected;
};

void PrintTo(const HeaderCase& c, std::ostream* out) {
  *out << "Host " << c.host << ", Origin " << c.origin << ", Sec-Fetch-Site " << c.site
       << ", Cookie " << c.cookie;
}

class RequestCheckTest : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(RequestCheckTest, Decides) {
  const HeaderCase& c = GetParam();
  EXPECT_EQ(vkdedit::EditorServer::check(c.host, c.origin, c.site, "", c.cookie, "k", "s3cret",
                                         "127.0.0.1 localhost", 8080),
            c.expected);
}

using vkdedit::Refusal;
INSTANTIATE_TEST_SUITE_P(
    Headers, RequestCheckTest,
    ::testing::Values(HeaderCase{"127.0.0.1:8080", "", "", "k=s3cret", Refusal::ok},
                      HeaderCase{"localhost:8080", "http://localhost:8080", "same-origin",
                                 "a=b; k=s3cret", Refusal::ok},
                      HeaderCase{"127.0.0.1:8080", "", "", "k=s3cre", Refusal::noToken},
                      HeaderCase{"127.0.0.1:8080", "", "", "kk=s3cret", Refusal::noToken},
                      HeaderCase{"127.0.0.1:8081", "", "", "k=s3cret", Refusal::foreignHost},
                      HeaderCase{"127.0.0.1", "", "", "k=s3cret", Refusal::foreignHost},
                      HeaderCase{"127.0.0.1:8080", "null", "", "k=s3cret", Refusal::foreignOrigin},
                      HeaderCase{"127.0.0.1:8080", "http://localhost:8080", "", "k=s3cret",
                                 Refusal::foreignOrigin},
                      HeaderCase{"127.0.0.1:8080", "", "same-site", "k=s3cret",
                                 Refusal::foreignOrigin}));

TEST(EditorToken, IsNewEachTime) {
  const std::string a = vkdedit::EditorServer::newToken();
  EXPECT_EQ(a.size(), 64u);
  EXPECT_NE(a, vkdedit::EditorServer::newToken());
}

}  // namespace
