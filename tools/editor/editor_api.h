#pragma once
// The JSON interface of the dataset editor in the browser: the page asks for the definitions
// of one kind, adds, changes and deletes them, previews a dimension text format, imports and
// exports linetypes. Each answer is a JSON object; every message box that the library shows
// while a request is served comes back in it ("messages": caption, text, buttons), so that
// the page can show it as a dialog. A question that the request carries no answer for is
// given its safe answer (nothing is changed by that) and returned as "question"; the page
// asks the user and sends the request again with "answers".
//
// Every change is stored at once, as the dataset editor of the host does: the edit lock is
// taken (refused while another user holds it; when another user saved in between, the
// dataset is read again and the change is not stored, so that the user decides on the new
// content), the change is made and the dataset written. A refused change leaves the file
// and the content in memory as they were.
//
// All calls must come from the library's user-interface thread.

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "editor_merge.h"
#include "vxkd/dataset/project.h"

namespace vkdedit {

// What the interface answers: an HTTP status, and a JSON body or, for a download, the
// file's bytes with its type and name.
struct ApiReply {
  int status = 200;
  nlohmann::json body = nlohmann::json::object();
  std::string download;      // the file's content when not empty
  std::string downloadType;  // its content type
  std::string downloadName;  // its file name
};

// One request: the method, the path below "/api" ("/propertyDefs/12"), the query
// parameters and the body (JSON, or a file's content for an upload).
struct ApiRequest {
  std::string method;
  std::string path;
  std::map<std::string, std::string> query;
  std::string body;
};

class EditorApi {
 public:
  // The editor of the dataset at `path` (UTF-8); nothing is read yet.
  explicit EditorApi(std::string path);
  ~EditorApi();
  EditorApi(const EditorApi&) = delete;
  EditorApi& operator=(const EditorApi&) = delete;

  // Reads the dataset. False, with the reason (the library's message) in `why`, when it
  // cannot be read.
  bool open(std::string& why);

  // Serves one request.
  ApiReply handle(const ApiRequest& request);

  const CKdProject& project() const { return project_; }

  // The most products one page of the product table holds.
  static constexpr int kMaxPageRows = 500;

 private:
  struct Call;
  ApiReply dispatch(Call& call);

  std::string path_;
  CKdProject project_;
  std::unique_ptr<MergeSession> merge_;  // the merge page's source and plan
};

}  // namespace vkdedit
