#pragma once
// The web server of the dataset editor: serves the page files and the JSON interface
// (editor_api.h) to a browser on this machine.
//
// A local server must not be usable by other web sites the same browser shows, nor by
// other users of the machine: it listens on 127.0.0.1 unless told otherwise; every request
// carries a secret token, first in the printed address, then in an HttpOnly, SameSite=Strict
// cookie; the Host header must name the server (a DNS-rebound name does not); a request with
// an Origin header must come from the server's own page; uploads are limited in size; every
// response carries a Content-Security-Policy that lets the page load only its own files.

#include <cstddef>
#include <memory>
#include <string>

namespace vkdedit {

class EditorApi;

struct ServerOptions {
  std::string address = "127.0.0.1";    // where to listen
  int port = 0;                         // 0: any free port
  size_t maxUpload = 1 << 20;           // the largest request body, in bytes...
  size_t maxDatasetUpload = 256 << 20;  // ...but for a source dataset of the merge page
  std::string pagesFolder;              // the folder of index.html, editor.js, editor.css
  std::string token;                    // the secret; empty: a new random one
};

// Why a request is refused before it reaches a handler; accepted when `ok`.
enum class Refusal { ok, noToken, foreignHost, foreignOrigin };

class EditorServer {
 public:
  EditorServer(EditorApi& api, ServerOptions options);
  ~EditorServer();
  EditorServer(const EditorServer&) = delete;
  EditorServer& operator=(const EditorServer&) = delete;

  // Binds the listening socket. False, with the reason in `why`, when it cannot.
  bool bind(std::string& why);
  int port() const;
  // The address to open, with the token: "http://127.0.0.1:8080/?token=...".
  std::string url() const;
  const std::string& token() const;

  // Serves until stop() or a SIGINT/SIGTERM. The interface runs on the calling thread (the
  // library's user-interface thread), one request at a time.
  void run();
  // Ends run(); callable from any thread.
  void stop();

  // The checks of one request, by its headers: the Host, the Origin, the token from the
  // query or the cookie. `hostNames` are the names the server answers to.
  static Refusal check(const std::string& host, const std::string& origin,
                       const std::string& secFetchSite, const std::string& queryToken,
                       const std::string& cookieHeader, const std::string& cookieName,
                       const std::string& token, const std::string& hostNames, int port);

  // A new secret: 32 random bytes as hex.
  static std::string newToken();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The folder of the page files: "editor" in the library's program folder (beside its data
// files, installed or in the build tree); "" when it has none.
std::string findPagesFolder();

}  // namespace vkdedit
