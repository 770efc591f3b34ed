#include "editor_server.h"

#include <httplib.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <functional>
#include <future>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "editor_api.h"
#include "vxkd/foundation/startup.h"

namespace vkdedit {
namespace {

// The page may load its own files only: no inline script, nothing from elsewhere; pictures
// of previews come as data: URLs.
constexpr char kContentSecurityPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; form-action 'none'; frame-ancestors 'none'; base-uri 'none'";

// The page files and their content types; nothing else is served from the folder.
struct PageFile {
  const char* path;
  const char* file;
  const char* type;
};
constexpr PageFile kPageFiles[] = {
    {"/", "index.html", "text/html; charset=utf-8"},
    {"/index.html", "index.html", "text/html; charset=utf-8"},
    {"/editor.js", "editor.js", "text/javascript; charset=utf-8"},
    {"/editor.css", "editor.css", "text/css; charset=utf-8"},
};

bool isFile(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool readFile(const std::string& path, std::string& data) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream out;
  out << in.rdbuf();
  data = out.str();
  return true;
}

// Compares without stopping at the first difference, so that the time a refusal takes
// tells nothing about the token.
bool sameSecret(const std::string& a, const std::string& b) {
  if (a.size() != b.size() || a.empty()) return false;
  unsigned char diff = 0;
  for (size_t i = 0; i < a.size(); ++i) diff |= static_cast<unsigned char>(a[i] ^ b[i]);
  return diff == 0;
}

// The value of cookie `name` in a Cookie header; "" when absent.
std::string cookieValue(const std::string& header, const std::string& name) {
  size_t pos = 0;
  while (pos < header.size()) {
    size_t end = header.find(';', pos);
    if (end == std::string::npos) end = header.size();
    std::string pair = header.substr(pos, end - pos);
    const size_t first = pair.find_first_not_of(' ');
    pair = first == std::string::npos ? "" : pair.substr(first);
    if (pair.compare(0, name.size() + 1, name + "=") == 0) return pair.substr(name.size() + 1);
    pos = end + 1;
  }
  return "";
}

// Runs the interface's work on one thread, the one that calls run().
class UiQueue {
 public:
  // Runs `task` on the queue's thread and waits for it; false when the queue has stopped.
  bool call(const std::function<void()>& task) {
    std::packaged_task<void()> job(task);
    std::future<void> done = job.get_future();
    {
      std::lock_guard<std::mutex> guard(mutex_);
      if (stopped_) return false;
      tasks_.push_back(std::move(job));
    }
    wake_.notify_one();
    done.wait();
    return true;
  }
  void run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return stopped_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      std::packaged_task<void()> job = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      job();
      lock.lock();
    }
  }
  // Runs what is queued, then ends run(); later calls are refused.
  void stop() {
    {
      std::lock_guard<std::mutex> guard(mutex_);
      stopped_ = true;
    }
    wake_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::packaged_task<void()>> tasks_;
  bool stopped_ = false;
};

}  // namespace

struct EditorServer::Impl {
  EditorApi& api;
  ServerOptions options;
  httplib::Server http;
  UiQueue queue;
  int port = 0;
  std::string cookieName;
  std::string hostNames;  // blank-separated names the Host header may give

  Impl(EditorApi& a, ServerOptions o) : api(a), options(std::move(o)) {}

  void setUp();
  void servePage(const PageFile& page, const httplib::Request& request,
                 httplib::Response& response);
  void serveApi(const httplib::Request& request, httplib::Response& response);
  // The largest body a request to `path` may carry, and the refusal of a larger one.
  size_t uploadLimit(const std::string& path) const;
  void refuseUpload(const std::string& path, httplib::Response& response) const;
};

EditorServer::EditorServer(EditorApi& api, ServerOptions options)
    : impl_(std::make_unique<Impl>(api, std::move(options))) {
  if (impl_->options.token.empty()) impl_->options.token = newToken();
}

EditorServer::~EditorServer() { impl_->http.stop(); }

std::string EditorServer::newToken() {
  std::random_device random;  // the system's entropy source
  std::string token;
  static const char hex[] = "0123456789abcdef";
  for (int i = 0; i < 32; ++i) {
    const unsigned byte = random() & 0xff;
    token += hex[byte >> 4];
    token += hex[byte & 0xf];
  }
  return token;
}

Refusal EditorServer::check(const std::string& host, const std::string& origin,
                            const std::string& secFetchSite, const std::string& queryToken,
                            const std::string& cookieHeader, const std::string& cookieName,
                            const std::string& token, const std::string& hostNames, int port) {
  // The Host header: one of our names with our port. A page of another site whose name was
  // made to resolve to this machine sends its own name and is refused.
  bool hostKnown = false;
  std::istringstream names(hostNames);
  for (std::string name; names >> name;)
    if (host == name + ":" + std::to_string(port)) hostKnown = true;
  if (!hostKnown) return Refusal::foreignHost;
  if (!origin.empty() && origin != "http://" + host) return Refusal::foreignOrigin;
  if (secFetchSite == "cross-site" || secFetchSite == "same-site") return Refusal::foreignOrigin;
  if (!sameSecret(queryToken, token) && !sameSecret(cookieValue(cookieHeader, cookieName), token))
    return Refusal::noToken;
  return Refusal::ok;
}

void EditorServer::Impl::setUp() {
  // The larger limit here, so that only a request that passed the checks above is read;
  // each one is held to its own limit in serveApi. (A refusal before the body is read would
  // leave the sender writing into a closed connection instead of reading the answer.)
  http.set_payload_max_length(std::max(options.maxUpload, options.maxDatasetUpload));
  http.set_default_headers({
      {"Content-Security-Policy", kContentSecurityPolicy},
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Referrer-Policy", "no-referrer"},
      {"Cache-Control", "no-store"},
  });
  http.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        const Refusal refusal =
            check(request.get_header_value("Host"), request.get_header_value("Origin"),
                  request.get_header_value("Sec-Fetch-Site"), request.get_param_value("token"),
                  request.get_header_value("Cookie"), cookieName, options.token, hostNames, port);
        if (refusal == Refusal::ok) return httplib::Server::HandlerResponse::Unhandled;
        static const char* const kWhy[] = {"", "this address needs the token that vkd edit printed",
                                           "unknown host name", "request from another site"};
        response.status = refusal == Refusal::noToken       ? 401
                          : refusal == Refusal::foreignHost ? 421
                                                            : 403;
        response.set_content(std::string(kWhy[static_cast<int>(refusal)]) + "\n",
                             "text/plain; charset=utf-8");
        return httplib::Server::HandlerResponse::Handled;
      });
  for (const PageFile& page : kPageFiles)
    http.Get(page.path,
             [this, &page](const httplib::Request& request, httplib::Response& response) {
               servePage(page, request, response);
             });
  auto api = [this](const httplib::Request& request, httplib::Response& response) {
    serveApi(request, response);
  };
  http.Get("/api/.*", api);
  http.Post("/api/.*", api);
  http.Put("/api/.*", api);
  http.Delete("/api/.*", api);
}

void EditorServer::Impl::servePage(const PageFile& page, const httplib::Request& request,
                                   httplib::Response& response) {
  if (request.has_param("token")) {
    // The first visit: the token moves into the cookie and out of the address bar.
    response.set_header("Set-Cookie",
                        cookieName + "=" + options.token + "; HttpOnly; SameSite=Strict; Path=/");
    response.set_redirect(page.path, 303);
    return;
  }
  std::string data;
  if (!readFile(options.pagesFolder + "/" + page.file, data)) {
    response.status = 500;
    response.set_content("the page files are missing\n", "text/plain; charset=utf-8");
    return;
  }
  response.set_content(data, page.type);
}

size_t EditorServer::Impl::uploadLimit(const std::string& path) const {
  return path == "/api/merge/source" ? options.maxDatasetUpload : options.maxUpload;
}

void EditorServer::Impl::refuseUpload(const std::string& path, httplib::Response& response) const {
  response.status = 413;
  response.set_content(
      "uploads here are limited to " + std::to_string(uploadLimit(path) >> 20) + " MiB\n",
      "text/plain; charset=utf-8");
}

void EditorServer::Impl::serveApi(const httplib::Request& request, httplib::Response& response) {
  if (request.body.size() > uploadLimit(request.path)) return refuseUpload(request.path, response);
  ApiRequest call;
  call.method = request.method;
  call.path = request.path.substr(4);  // below "/api"
  for (const auto& [key, value] : request.params) call.query[key] = value;
  call.body = request.body;
  ApiReply reply;
  if (!queue.call([&] { reply = api.handle(call); })) {
    response.status = 503;
    response.set_content("the editor is ending\n", "text/plain; charset=utf-8");
    return;
  }
  response.status = reply.status;
  if (!reply.download.empty()) {
    response.set_header("Content-Disposition",
                        "attachment; filename=\"" + reply.downloadName + "\"");
    response.set_content(reply.download, reply.downloadType.c_str());
    return;
  }
  response.set_content(reply.body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace),
                       "application/json; charset=utf-8");
}

bool EditorServer::bind(std::string& why) {
  Impl& d = *impl_;
  d.setUp();
  d.port = d.options.port == 0
               ? d.http.bind_to_any_port(d.options.address)
               : (d.http.bind_to_port(d.options.address, d.options.port) ? d.options.port : -1);
  if (d.port <= 0) {
    why = "cannot listen on " + d.options.address + " port " + std::to_string(d.options.port);
    return false;
  }
  d.cookieName = "vkd_edit_" + std::to_string(d.port);
  d.hostNames = "127.0.0.1 localhost";
  if (d.options.address != "127.0.0.1" && d.options.address != "0.0.0.0")
    d.hostNames += " " + d.options.address;
  return true;
}

int EditorServer::port() const { return impl_->port; }

const std::string& EditorServer::token() const { return impl_->options.token; }

std::string EditorServer::url() const {
  const std::string& address = impl_->options.address;
  const std::string host = address == "0.0.0.0" ? "127.0.0.1" : address;
  return "http://" + host + ":" + std::to_string(impl_->port) + "/?token=" + impl_->options.token;
}

void EditorServer::run() {
  Impl& d = *impl_;
  // SIGINT and SIGTERM end the server in order (the dataset is never left half-written: a
  // change in progress completes first). They are taken by a thread of their own.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread waiter([&] {
    int signal = 0;
    sigwait(&signals, &signal);
    d.http.stop();
  });
  std::thread listener([&] {
    d.http.listen_after_bind();
    d.queue.stop();
  });
  d.queue.run();
  d.http.stop();
  listener.join();
  pthread_kill(waiter.native_handle(), SIGUSR1);
  waiter.join();
}

void EditorServer::stop() { impl_->http.stop(); }

std::string findPagesFolder() {
  const std::string folder = VxKd::programFolder().toUtf8() + "/editor";
  return isFile(folder + "/index.html") ? folder : "";
}

}  // namespace vkdedit
