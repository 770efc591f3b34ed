// vkd edit FILE.vkd [--port N] [--address A]: the dataset editor in the browser. Starts a
// web server on this machine and prints the address to open; ends with Ctrl+C.

#include <charconv>
#include <cstdio>

#include "editor_api.h"
#include "editor_server.h"
#include "tool.h"

namespace vkd {
namespace {

int edit(const std::vector<std::string>& args, const Options& options, ToolUiBackend&) {
  vkdedit::ServerOptions server;
  if (!options.port.empty()) {
    const char* end = options.port.data() + options.port.size();
    auto [stop, error] = std::from_chars(options.port.data(), end, server.port);
    if (error != std::errc() || stop != end || server.port < 1 || server.port > 65535) {
      std::fprintf(stderr, "vkd: --port takes a number from 1 to 65535, not \"%s\"\n",
                   options.port.c_str());
      return exitUsage;
    }
  }
  if (!options.address.empty()) server.address = options.address;
  server.pagesFolder = vkdedit::findPagesFolder();
  if (server.pagesFolder.empty())
    return fail("the page files of the editor are not installed (editor/index.html)");

  vkdedit::EditorApi api(args[0]);
  std::string why;
  if (!api.open(why)) return fail(why);
  vkdedit::EditorServer editor(api, server);
  if (!editor.bind(why)) return fail(why);
  if (server.address != "127.0.0.1")
    std::fprintf(stderr,
                 "vkd: warning: listening on %s: other machines may reach the editor; anyone "
                 "with the address below can change %s\n",
                 server.address.c_str(), args[0].c_str());
  std::printf("Editing %s at\n%s\nPress Ctrl+C to end.\n", args[0].c_str(), editor.url().c_str());
  std::fflush(stdout);
  editor.run();
  return exitOk;
}

const Command kEdit("edit", "[--port N] [--address A] FILE.vkd",
                    "edit the dataset in a web browser: prints the address to open\n"
                    "(listens on 127.0.0.1 unless --address says otherwise)",
                    1, 1, "port,address", edit);

}  // namespace
}  // namespace vkd
