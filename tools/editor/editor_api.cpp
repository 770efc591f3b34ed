#include "editor_api.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <functional>
#include <string_view>

#include "editor_forms.h"
#include "editor_products.h"
#include "editor_reports.h"
#include "editor_text.h"
#include "vxkd/dimtext/dimtext.h"
#include "vxkd/merge/dataset_kind.h"
#include "vxkd/platform/svg_writer.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/ui_backend.h"

using json = nlohmann::json;

namespace vkdedit {
namespace {

// The kinds whose definitions are imported from an uploaded file and exported as a download.
struct FileKind {
  const char* kind;
  const char* what;
  const char* fileName;
  bool (*import)(CKdProject& project, const wchar_t* path, CKdDefImportReport* report);
  bool (*exportTo)(const CKdProject& project, const wchar_t* path);
};
constexpr FileKind kFileKinds[] = {
    {"linetypes", "linetypes", "linetypes.lin",
     [](CKdProject& p, const wchar_t* path, CKdDefImportReport* report) {
       return p.linetypeDefs().importLin(nullptr, path, report);
     },
     [](const CKdProject& p, const wchar_t* path) {
       return p.linetypeDefs().exportLin(nullptr, path);
     }},
    {"textStyles", "text styles", "textstyles.sty",
     [](CKdProject& p, const wchar_t* path, CKdDefImportReport* report) {
       return p.textStyleDefs().importSty(nullptr, path, report);
     },
     [](const CKdProject& p, const wchar_t* path) {
       return p.textStyleDefs().exportSty(nullptr, path);
     }},
};

// The longest part ID format the editor's field takes.
constexpr int kMaxPartIdFormatChars = 200;

// What sets the value types apart where the library names several of them "Number".
constexpr const char* kValueTypeDetails[] = {"none",           "text",        "16-bit integer",
                                             "32-bit integer", "single real", "double real"};

// The buttons of a box style, as the page shows them.
json buttonsOf(unsigned style) {
  switch (style & cuWin::MB_TYPEMASK) {
    case cuWin::MB_OKCANCEL:
      return {"ok", "cancel"};
    case cuWin::MB_YESNO:
      return {"yes", "no"};
    case 3:  // yes, no, cancel
      return {"yes", "no", "cancel"};
    default:
      return {"ok"};
  }
}

int answerCode(const std::string& answer) {
  if (answer == "yes") return cuWin::IDYES;
  if (answer == "no") return cuWin::IDNO;
  if (answer == "cancel") return cuWin::IDCANCEL;
  return cuWin::IDOK;
}

// Collects the boxes of one request. Questions take the answers the request brought, in
// order; the first one without an answer gets the safe answer and is kept as the question
// to put to the user.
class CaptureUi : public CUiBackend {
 public:
  explicit CaptureUi(std::vector<std::string> answers) : answers_(std::move(answers)) {}

  int messageBox(cuWin::HWND, const wchar_t* text, const wchar_t* caption,
                 unsigned style) override {
    json box = {{"caption", utf8(caption)}, {"text", utf8(text)}, {"buttons", buttonsOf(style)}};
    if ((style & cuWin::MB_TYPEMASK) == cuWin::MB_OK) {
      messages.push_back(box);
      return cuWin::IDOK;
    }
    if (next_ < answers_.size()) {
      messages.push_back(box);
      return answerCode(answers_[next_++]);
    }
    if (question.is_null()) question = box;
    return safeAnswerFor(style);
  }
  // Files are chosen by upload and download on the page, never by a dialog here.
  bool openFileDialog(cuWin::HWND, const wchar_t*, const wchar_t*, CWsz&) override { return false; }
  bool saveFileDialog(cuWin::HWND, const wchar_t*, const wchar_t*, const wchar_t*, CWsz&) override {
    return false;
  }
  bool showAgainBox(cuWin::HWND, const wchar_t* text, const wchar_t* caption) override {
    messages.push_back({{"caption", utf8(caption)}, {"text", utf8(text)}, {"buttons", {"ok"}}});
    return true;
  }

  json messages = json::array();
  json question;  // null when no question was left unanswered

 private:
  std::vector<std::string> answers_;
  size_t next_ = 0;
};

// Installs a backend for the lifetime of the object.
class Installed {
 public:
  explicit Installed(CUiBackend& backend) : previous_(CUiBackend::install(&backend)) {}
  ~Installed() { CUiBackend::install(previous_); }
  Installed(const Installed&) = delete;
  Installed& operator=(const Installed&) = delete;

 private:
  CUiBackend* previous_;
};

bool parseId(std::string_view text, long& id) {
  const char* end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, id);
  return !text.empty() && error == std::errc() && stop == end;
}

// The path split at "/" ("/propertyDefs/12" gives "propertyDefs", "12").
std::vector<std::string> segmentsOf(const std::string& path) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start <= path.size()) {
    size_t slash = path.find('/', start);
    if (slash == std::string::npos) slash = path.size();
    if (slash > start) out.push_back(path.substr(start, slash - start));
    start = slash + 1;
  }
  return out;
}

json propertyDefJson(const CKdPropertyDef& def) {
  CWsz label, typeName;
  def.unit().getLabel(label);
  CKdPropertyValue::getTypeNameOf(def.valueType(), typeName);
  return {{"id", def.dbId()},
          {"name", utf8(def.name())},
          {"desc", utf8(def.desc())},
          {"unit", static_cast<int>(def.unit().id())},
          {"unitLabel", utf8(label)},
          {"valueType", static_cast<int>(def.valueType())},
          {"valueTypeName", utf8(typeName)},
          {"decimals", def.decimals()}};
}

// A read-only kind of definition: its columns and how a row of it reads.
struct ListKind {
  const char* name;
  std::vector<std::pair<const char*, const char*>> columns;  // key, heading
  std::function<json(const CKdProject&)> rows;
};

template <typename Array, typename Row>
json rowsOf(const Array& array, Row row) {
  json out = json::array();
  for (int i = 0; i < array.length(); ++i) out.push_back(row(*array.objAt(i)));
  return out;
}

const std::vector<ListKind>& listKinds() {
  static const std::vector<ListKind> kinds = {
      {"partIdFormats",
       {{"id", "Id"}, {"desc", "Description"}, {"format", "Format"}},
       [](const CKdProject& p) {
         return rowsOf(p.partIdFormats(), [](const CKdPartIdFormat& f) {
           return json{{"id", f.dbId()}, {"desc", utf8(f.desc())}, {"format", utf8(f.format())}};
         });
       }},
      {"dimTextFormats",
       {{"id", "Id"}, {"desc", "Description"}, {"fmt", "Format"}, {"style", "Text style"}},
       [](const CKdProject& p) {
         return rowsOf(p.dimTextFormats(), [](const CKdDimtextFormat& f) {
           return json{{"id", f.id()},
                       {"desc", utf8(f.desc())},
                       {"fmt", utf8(f.fmt())},
                       {"style", utf8(f.styleName())}};
         });
       }},
  };
  return kinds;
}

}  // namespace

// One request being served: what it asked, the boxes it met and the answer it builds.
struct EditorApi::Call {
  const ApiRequest& request;
  CaptureUi& ui;
  json body;  // the request's JSON body; an empty object for none
  ApiReply reply;

  ApiReply& fail(int status, const std::string& error) {
    reply.status = status;
    reply.body["error"] = error;
    return reply;
  }
  std::string text(const char* key) const {
    auto it = body.find(key);
    return it != body.end() && it->is_string() ? it->get<std::string>() : std::string();
  }
  long number(const char* key, long fallback) const {
    auto it = body.find(key);
    return it != body.end() && it->is_number_integer() ? it->get<long>() : fallback;
  }
};

EditorApi::EditorApi(std::string path)
    : path_(std::move(path)), merge_(std::make_unique<MergeSession>()) {}
EditorApi::~EditorApi() = default;

bool EditorApi::open(std::string& why) {
  CaptureUi ui({});
  Installed installed(ui);
  if (project_.readDb(nullptr, wide(path_))) return true;
  why = "cannot read " + path_;
  if (!ui.messages.empty())
    why += " (" + ui.messages.back()["caption"].get<std::string>() + ": " +
           ui.messages.back()["text"].get<std::string>() + ")";
  return false;
}

ApiReply EditorApi::handle(const ApiRequest& request) {
  json body = json::object();
  std::vector<std::string> answers;
  const bool upload =
      request.path.find("/import") != std::string::npos || request.path == "/merge/source";
  if (!request.body.empty() && request.method != "GET" && !upload) {
    body = json::parse(request.body, nullptr, false);
    if (body.is_discarded() || !body.is_object()) {
      ApiReply reply;
      reply.status = 400;
      reply.body["error"] = "the request body is not a JSON object";
      return reply;
    }
    if (auto it = body.find("answers"); it != body.end() && it->is_array())
      for (const json& answer : *it)
        if (answer.is_string()) answers.push_back(answer.get<std::string>());
  }
  CaptureUi ui(std::move(answers));
  Call call{request, ui, std::move(body), {}};
  {
    Installed installed(ui);
    dispatch(call);
    // A change to the dataset makes the comparison of the merge page old.
    if (merge_->loaded() && request.path.rfind("/merge", 0) != 0 &&
        (call.reply.body.value("stored", false) || call.reply.body.value("reloaded", false)))
      merge_->compareAgain(project_);
  }
  call.reply.body["messages"] = ui.messages;
  if (!ui.question.is_null()) call.reply.body["question"] = ui.question;
  return call.reply;
}

namespace {

// The users of property definitions in `project`, for the in-use check of a deletion.
std::vector<const iKdPropertyDefUser*> propertyDefUsers(
    const CKdProject& project, std::vector<std::unique_ptr<iKdPropertyDefUser>>& keep) {
  std::vector<const iKdPropertyDefUser*> users;
  users.push_back(&project.productGroups());
  for (auto type : {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric, VxKd::systemData})
    if (const CKdProductDefArray* set = project.polyDefSets(type)) users.push_back(set);
  keep.push_back(std::make_unique<CKdPartIdFormatPropertyDefUser>(project.partIdFormats(),
                                                                  project.propertyDefs()));
  keep.push_back(std::make_unique<CKdDimtextFormatPropertyDefUser>(project.dimTextFormats(),
                                                                   project.propertyDefs()));
  for (auto& user : keep) users.push_back(user.get());
  for (int i = 0; i < project.reportDefs().length(); ++i)
    users.push_back(project.reportDefs().objAt(i));
  return users;
}

// Takes the edit lock of `project` and stores what `change` does. `change` returns false,
// having changed nothing, when it refuses; when `writes` is set it writes the file itself,
// otherwise the project is written after it. On any failure the content in memory is that
// of the file again. Sets the reply's status and "stored".
bool storeChange(CKdProject& project, ApiReply& reply, bool writes,
                 const std::function<bool()>& change) {
  reply.body["stored"] = false;
  CLockFile lock;
  const int locked = project.setEditLock(nullptr, lock);
  if (locked != 0) {
    reply.status = 409;
    reply.body["reloaded"] = locked == 1;
    reply.body["error"] = locked == 1 ? "another user saved the dataset; it was read again"
                                      : "the dataset cannot be locked for an update";
    return false;
  }
  if (!change()) {
    reply.status = 422;
    return false;
  }
  if (!writes && !project.updateDb(nullptr)) {
    reply.status = 500;
    reply.body["error"] = "the dataset cannot be saved; it is as it was";
    CKdProject fresh;
    if (fresh.readDb(nullptr, project.fileName())) project = std::move(fresh);
    reply.body["reloaded"] = true;
    return false;
  }
  reply.body["stored"] = true;
  return true;
}

int indexOfPropertyDef(const CKdPropertyDefArray& defs, long id) {
  for (int i = 0; i < defs.length(); ++i)
    if (defs.idAt(i) == id) return i;
  return -1;
}

// Checks the fields of a property definition other than its name; "" when they are fine.
std::string badPropertyFields(long unit, long valueType, long decimals) {
  if (unit != 0 && (unit < INT16_MIN || unit > INT16_MAX || !CKdUnit::isValidId(unit)))
    return "unknown unit " + std::to_string(unit);
  if (valueType < CKdPropertyValue::typeNone || valueType > CKdPropertyValue::typeDoubleReal)
    return "unknown value type " + std::to_string(valueType);
  if (decimals < 0 || decimals > CKdPropertyValue::maxDecimals)
    return "decimals must be 0 to " + std::to_string(CKdPropertyValue::maxDecimals);
  return "";
}

}  // namespace

ApiReply EditorApi::dispatch(Call& call) {
  const ApiRequest& rq = call.request;
  const std::vector<std::string> seg = segmentsOf(rq.path);
  ApiReply& reply = call.reply;
  if (seg.empty()) return call.fail(404, "no such interface");
  const std::string& kind = seg[0];
  const bool get = rq.method == "GET";

  if (kind == "info" && get) {
    json units = json::array();
    for (int id = 0; id <= INT16_MAX; ++id) {
      if (id != 0 && !CKdUnit::isValidId(static_cast<int16_t>(id))) continue;
      CKdUnit unit(static_cast<CKdUnit::unitId>(id));
      CWsz label, description;
      unit.getLabel(label);
      unit.getDescription(description);
      units.push_back({{"id", id}, {"label", utf8(label)}, {"quantity", utf8(description)}});
    }
    json types = json::array();
    for (int type = CKdPropertyValue::typeNone; type <= CKdPropertyValue::typeDoubleReal; ++type) {
      CWsz name;
      CKdPropertyValue::getTypeNameOf(static_cast<CKdPropertyValue::valueTypeId>(type), name);
      types.push_back({{"id", type}, {"name", utf8(name)}, {"detail", kValueTypeDetails[type]}});
    }
    json kinds = json::array({"propertyDefs", "groups"});
    for (const ListKind& k : listKinds()) kinds.push_back(k.name);
    for (const std::string& set : polySetNames()) kinds.push_back(set);
    for (const FormKind& k : formKinds()) kinds.push_back(k.kind);
    reply.body = {{"file", path_},  {"forms", formsJson()},
                  {"units", units}, {"valueTypes", types},
                  {"kinds", kinds}, {"maxDecimals", CKdPropertyValue::maxDecimals}};
    return reply;
  }

  if (kind == "status" && seg.size() == 1 && get) {
    // Whether another user saved the dataset since it was read: then it is read again, with
    // the library's information box, and the page shows the new content.
    const int updated = project_.checkUpdated(nullptr, true);
    reply.body["reloaded"] = updated == 1;
    if (updated < 0) reply.body["error"] = "the dataset cannot be read";
    return reply;
  }

  if (kind == "propertyDefs") {
    CKdPropertyDefArray& defs = project_.propertyDefs();
    if (seg.size() == 1 && get) {
      json items = json::array();
      for (int i = 0; i < defs.length(); ++i) items.push_back(propertyDefJson(*defs.objAt(i)));
      reply.body["items"] = items;
      return reply;
    }
    long id = 0;
    if (seg.size() == 2 && !parseId(seg[1], id)) return call.fail(404, "no such definition");
    if (seg.size() == 2 && get) {
      const int index = indexOfPropertyDef(defs, id);
      if (index < 0) return call.fail(404, "no property definition with id " + seg[1]);
      reply.body["item"] = propertyDefJson(*defs.objAt(index));
      return reply;
    }
    if ((seg.size() == 1 && rq.method == "POST") || (seg.size() == 2 && rq.method == "PUT")) {
      const bool adding = seg.size() == 1;
      const std::string name = call.text("name");
      const long unit = call.number("unit", 0), type = call.number("valueType", 0),
                 decimals = call.number("decimals", 0);
      if (std::string bad = badPropertyFields(unit, type, decimals); !bad.empty())
        return call.fail(400, bad);
      const CWsz wname = wide(name), wdesc = wide(call.text("desc"));
      long storedId = 0;
      storeChange(project_, reply, false, [&] {
        CKdPropertyDef* edited = nullptr;
        if (!adding) {
          const int index = indexOfPropertyDef(defs, id);
          if (index < 0) {
            reply.body["error"] = "no property definition with id " + seg[1];
            return false;
          }
          edited = defs.objAt(index);
        }
        if (!CKdPropertyDefArray::validateName(nullptr, defs, wname, edited)) {
          reply.body["error"] =
              name.empty() ? "a property definition needs a name" : "name refused";
          return false;
        }
        const auto valueType = static_cast<CKdPropertyValue::valueTypeId>(type);
        const CKdUnit newUnit(static_cast<CKdUnit::unitId>(unit));
        if (adding) {
          if (!defs.add(wname, wdesc, valueType, newUnit, decimals)) {
            reply.body["error"] = "the definition cannot be added";
            return false;
          }
          storedId = defs.idAt(defs.length() - 1);
          return true;
        }
        edited->setName(wname);
        edited->setDesc(wdesc);
        edited->setValueType(valueType);
        edited->setUnit(newUnit);
        edited->setDecimals(decimals);
        project_.updatePropertyDefModificationToRefs(*edited);
        storedId = edited->dbId();
        return true;
      });
      if (storedId != 0 && reply.status == 200) {
        reply.body["item"] = propertyDefJson(*defs.objAt(indexOfPropertyDef(defs, storedId)));
        if (adding) reply.status = 201;
      }
      return reply;
    }
    if (seg.size() == 2 && rq.method == "DELETE") {
      storeChange(project_, reply, true, [&] {
        const int index = indexOfPropertyDef(defs, id);
        if (index < 0) {
          reply.body["error"] = "no property definition with id " + seg[1];
          return false;
        }
        std::vector<std::unique_ptr<iKdPropertyDefUser>> keep;
        const auto users = propertyDefUsers(project_, keep);
        project_.deletePropertyDefs(nullptr, CInt32Array{index}, users);
        if (indexOfPropertyDef(defs, id) < 0) return true;
        if (!reply.body.contains("error")) reply.body["error"] = "the definition is in use";
        return false;
      });
      return reply;
    }
    return call.fail(405, "not an operation on property definitions");
  }

  for (const FormKind& form : formKinds()) {
    if (kind != form.kind) continue;
    if (seg.size() == 1 && get) {
      json columns = json::array();
      for (const FormField& field : form.fields)
        if (field.type != FormField::flag)
          columns.push_back({{"key", field.key}, {"title", field.label}});
      reply.body = {{"columns", columns}, {"items", form.items(project_)}};
      return reply;
    }
    // Downloads, uploads and the drawings of symbols and blocks are served below.
    if ((get && seg.size() > 1) || (seg.size() == 2 && seg[1] == "import")) break;
    long id = 0;
    if (seg.size() > 2 || (seg.size() == 2 && !parseId(seg[1], id)))
      return call.fail(404, std::string("no such item of ") + form.kind);
    const bool adding = seg.size() == 1 && rq.method == "POST";
    if (adding ? !form.canAdd : seg.size() != 2)
      return call.fail(405, std::string("not an operation on ") + form.kind);
    if (adding || rq.method == "PUT") {
      if (std::string bad = checkFormFields(form, project_, call.body); !bad.empty())
        return call.fail(400, bad);
      long storedId = 0;
      storeChange(project_, reply, false, [&] {
        const int index = adding ? -1 : form.indexOf(project_, id);
        if (!adding && index < 0) {
          reply.body["error"] = "no item " + seg[1] + " of " + form.kind;
          return false;
        }
        const std::string refused = form.store(project_, index, call.body, storedId);
        if (!refused.empty()) reply.body["error"] = refused;
        return refused.empty();
      });
      if (reply.status == 200) {
        reply.body["item"] = form.items(project_)[form.indexOf(project_, storedId)];
        if (adding) reply.status = 201;
      }
      return reply;
    }
    if (rq.method == "DELETE" && form.remove) {
      storeChange(project_, reply, form.removeWrites, [&] {
        const int index = form.indexOf(project_, id);
        if (index < 0) {
          reply.body["error"] = "no item " + seg[1] + " of " + form.kind;
          return false;
        }
        const std::string refused = form.remove(project_, index);
        if (refused.empty()) return true;
        reply.body["error"] = refused;
        return false;
      });
      return reply;
    }
    return call.fail(405, std::string("not an operation on ") + form.kind);
  }

  if (kind == "merge") {
    MergeSession& merge = *merge_;
    if (seg.size() == 2 && seg[1] == "source" && rq.method == "POST") {
      auto name = rq.query.find("name");
      std::string why;
      if (!merge.load(rq.body, name == rq.query.end() ? "" : name->second, project_, why))
        return call.fail(422, why);
      reply.body["merge"] = merge.view();
      return reply;
    }
    if (seg.size() == 1 && rq.method == "DELETE") {
      merge.clear();
      return reply;
    }
    if (seg.size() == 1 && get) {
      // Null until a source is chosen.
      reply.body["merge"] = merge.loaded() ? merge.view() : json();
      return reply;
    }
    if (!merge.loaded()) return call.fail(404, "no source dataset was chosen");
    if (seg.size() == 2 && seg[1] == "action" && rq.method == "PUT") {
      const std::string refused = merge.setAction(
          call.text("kind"), static_cast<int>(call.number("sourceIndex", -1)), call.text("action"));
      if (!refused.empty()) return call.fail(422, refused);
      reply.body["merge"] = merge.view();
      return reply;
    }
    if (seg.size() == 2 && seg[1] == "apply" && rq.method == "POST") {
      json report;
      const int merged = merge.apply(project_, report);
      reply.body["stored"] = merged == 0;
      if (merged == 0) {
        reply.body["report"] = report;
        for (int k = 0; k < VxKd::kindCount; ++k) {
          const auto datasetKind = static_cast<VxKd::datasetKind>(k);
          reply.body["kindTitles"][VxKd::datasetKindKey(datasetKind)] =
              VxKd::datasetKindTitle(datasetKind).toUtf8();
        }
        return reply;
      }
      reply.status = 409;
      reply.body["reloaded"] = merged == 1;
      reply.body["error"] =
          merged == 1 ? "another user saved the dataset; it was read again and compared anew"
                      : "nothing was merged";
      reply.body["merge"] = merge.view();
      return reply;
    }
    return call.fail(405, "not an operation of the merge");
  }

  if (kind == "partIdFormats" && rq.method != "GET") {
    CKdPartIdFormatArray& formats = project_.partIdFormats();
    long id = 0;
    if (seg.size() > 2 || (seg.size() == 2 && !parseId(seg[1], id)))
      return call.fail(404, "no such part ID format");
    auto indexOf = [&](long wanted) {
      for (int i = 0; i < formats.length(); ++i)
        if (formats.idAt(i) == wanted) return i;
      return -1;
    };
    if ((seg.size() == 1 && rq.method == "POST") || (seg.size() == 2 && rq.method == "PUT")) {
      const std::string desc = call.text("desc"), text = call.text("format");
      // What the format editor takes in its field.
      if (CWsz::fromUtf8(text.c_str()).length() > kMaxPartIdFormatChars)
        return call.fail(400, "a part ID format holds at most " +
                                  std::to_string(kMaxPartIdFormatChars) + " characters");
      if (desc.empty()) return call.fail(400, "a part ID format needs a description");
      long storedId = 0;
      storeChange(project_, reply, false, [&] {
        if (seg.size() == 1) {
          CKdPartIdFormat format(formats.nextId(1, CKdPartIdFormatArray::kMaxId), wide(desc),
                                 wide(text));
          CKdGuid guid;
          guid.createValue();
          format.setGuid(guid);
          if (format.dbId() == 0 || !formats.append(&format)) {
            reply.body["error"] = "no id is free for another part ID format";
            return false;
          }
          storedId = format.dbId();
          return true;
        }
        const int index = indexOf(id);
        if (index < 0) {
          reply.body["error"] = "no part ID format with id " + seg[1];
          return false;
        }
        formats.objAt(index)->setDesc(wide(desc));
        formats.objAt(index)->setFormat(wide(text));
        storedId = id;
        return true;
      });
      if (reply.status == 200) {
        const CKdPartIdFormat& f = *formats.objAt(indexOf(storedId));
        reply.body["item"] = {
            {"id", f.dbId()}, {"desc", utf8(f.desc())}, {"format", utf8(f.format())}};
        if (seg.size() == 1) reply.status = 201;
      }
      return reply;
    }
    if (seg.size() == 2 && rq.method == "DELETE") {
      storeChange(project_, reply, true, [&] {
        const int index = indexOf(id);
        if (index < 0) {
          reply.body["error"] = "no part ID format with id " + seg[1];
          return false;
        }
        project_.deletePartIdFormats(nullptr, CInt32Array{index});
        if (indexOf(id) < 0) return true;
        if (!reply.body.contains("error")) reply.body["error"] = "the format is in use";
        return false;
      });
      return reply;
    }
    return call.fail(405, "not an operation on part ID formats");
  }

  if (kind == "dimTextFormats" && seg.size() == 2 && seg[1] == "preview" && rq.method == "POST") {
    // The layout of a format being typed: a copy of the stored format, or a new one, with
    // the given text.
    CKdDimtextFormat format;
    if (const CKdDimtextFormat* stored = project_.dimTextFormats().findFmt(call.number("id", 0)))
      format = *stored;
    format.setFmt(wide(call.text("fmt")));
    CGmModel model;
    CKdDimtext layout;
    if (!layout.createPreviewPic(model, format, project_.propertyDefs(),
                                 &project_.textStyleDefs())) {
      reply.status = 422;
      reply.body["error"] = "the format cannot be laid out";
      return reply;
    }
    CGmSvgWriter writer;
    reply.body["svg"] = writer.write(model);
    return reply;
  }

  const FileKind* files = nullptr;
  for (const FileKind& f : kFileKinds)
    if (kind == f.kind) files = &f;

  if (files && seg.size() == 2 && seg[1] == "export" && get) {
    // The library writes LIN files to a path only: a private temporary file, read back.
    char name[] = "/tmp/vkd-edit-XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0) return call.fail(500, "no temporary file for the export");
    close(fd);
    const bool written = files->exportTo(project_, wide(name));
    std::string data;
    if (FILE* f = std::fopen(name, "rb")) {
      char buffer[8192];
      size_t n;
      while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) data.append(buffer, n);
      std::fclose(f);
    }
    std::remove(name);
    if (!written) return call.fail(500, std::string("the ") + files->what + " cannot be exported");
    reply.download = data;
    reply.downloadType = "application/octet-stream";
    reply.downloadName = files->fileName;
    return reply;
  }

  if (files && seg.size() == 2 && seg[1] == "import" && rq.method == "POST") {
    char name[] = "/tmp/vkd-edit-XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0) return call.fail(500, "no temporary file for the import");
    const bool saved =
        write(fd, rq.body.data(), rq.body.size()) == static_cast<ssize_t>(rq.body.size());
    close(fd);
    if (!saved) {
      std::remove(name);
      return call.fail(500, "the uploaded file cannot be kept for the import");
    }
    CKdDefImportReport report;
    storeChange(project_, reply, false, [&] {
      if (files->import(project_, wide(name), &report)) return true;
      reply.body["error"] = "nothing was imported";
      // A failed import may have taken some of the file: the file's content again.
      CKdProject fresh;
      if (fresh.readDb(nullptr, project_.fileName())) project_ = std::move(fresh);
      return false;
    });
    std::remove(name);
    if (reply.status == 200)
      reply.body["report"] = {{"imported", report.importedCount()},
                              {"added", report.added().length()},
                              {"replaced", report.replaced().length()},
                              {"skipped", report.skipped().length()}};
    return reply;
  }

  if (kind == "groups" && seg.size() == 1 && get) {
    const CKdProductGroupArray& groups = project_.productGroups();
    json items = json::array();
    for (int i = 0; i < groups.length(); ++i) {
      const CKdProductGroup& g = *groups.objAt(i);
      items.push_back({{"id", g.dbId()},
                       {"owner", g.ownerGroupId()},
                       {"order", g.orderNmb()},
                       {"desc", utf8(g.desc())},
                       {"products", g.products().length()},
                       {"blocks", g.blocks().length()}});
    }
    reply.body["items"] = items;
    return reply;
  }

  if (kind == "groups" && seg.size() == 2 && rq.method == "DELETE") {
    // The library asks first (naming what the group holds) and takes the edit lock itself.
    long id = 0;
    if (!parseId(seg[1], id) || !project_.productGroups().findGroup(id))
      return call.fail(404, "no product group with id " + seg[1]);
    const bool deleted = project_.deleteProductGroup(nullptr, id);
    reply.body["stored"] = deleted;
    // Declined by the user (or waiting for the answer): nothing to report. A box that only
    // informs said why it could not be done (locked, read again, not written).
    bool informed = false;
    for (const json& box : call.ui.messages) informed |= box["buttons"].size() == 1;
    if (!deleted && informed) reply.status = 409;
    return reply;
  }

  if (kind == "reports" && seg.size() == 2 && seg[1] == "choices" && get) {
    reply.body = reportChoicesJson(project_);
    return reply;
  }

  if (kind == "symbols" && seg.size() == 2 && get) {
    // The drawing of one 2D symbol, by its symbol id.
    const CVxSymbolModelArray& symbols = project_.symbols();
    const int index = symbols.find(seg[1].c_str());
    if (index < 0) return call.fail(404, "no symbol \"" + seg[1] + "\"");
    CGmModel model;
    symbols.objAt(index)->addTo(model);
    reply.body["svg"] = CGmSvgWriter().write(model);
    return reply;
  }

  if (kind == "blocks" && get) {
    // The drawing of a block, named by its group's id and its position there.
    const CKdProductGroupArray& groups = project_.productGroups();
    long groupId = 0, index = 0;
    const CKdProductGroup* group =
        seg.size() == 3 && parseId(seg[1], groupId) && parseId(seg[2], index)
            ? groups.findGroup(groupId)
            : nullptr;
    if (!group || index < 0 || index >= group->blocks().length())
      return call.fail(404, "no such block");
    CGmModel model;
    group->blocks().objAt(static_cast<int>(index))->getModel(model, project_, false);
    reply.body["svg"] = CGmSvgWriter().write(model);
    return reply;
  }

  if (kind == "products" && seg.size() == 1 && get) {
    // One page of the products of a group or of a poly-object set, filtered by description
    // and part ID.
    long offset = 0, limit = 100;
    auto param = [&](const char* key, long& value) {
      auto it = rq.query.find(key);
      return it == rq.query.end() || parseId(it->second, value);
    };
    if (!param("offset", offset) || !param("limit", limit) || offset < 0 || limit < 1)
      return call.fail(400, "offset and limit must be numbers");
    if (limit > kMaxPageRows) limit = kMaxPageRows;
    auto groupIt = rq.query.find("group");
    const std::string ownerName = groupIt == rq.query.end() ? "" : groupIt->second;
    ProductOwner owner;
    if (!findProductOwner(project_, ownerName, owner))
      return call.fail(404, "no product group or set \"" + ownerName + "\"");
    const CKdProductDefArray& products = *owner.products;
    auto filterIt = rq.query.find("filter");
    const CWsz filter = filterIt == rq.query.end() ? CWsz() : wide(filterIt->second);
    json rows = json::array();
    long matching = 0;
    for (int i = 0; i < products.length(); ++i) {
      const CKdProductDef& product = *products.objAt(i);
      if (!filter.isEmpty() && cuSz::findNoCase(product.desc().wsz(), filter.wsz()) < 0 &&
          cuSz::findNoCase(productPartId(project_, product).wsz(), filter.wsz()) < 0)
        continue;
      if (matching >= offset && matching < offset + limit)
        rows.push_back(productRow(project_, product));
      ++matching;
    }
    reply.body = {{"total", matching}, {"offset", offset}, {"rows", rows}};
    return reply;
  }

  if (kind == "products" && (seg.size() == 2 || seg.size() == 3)) {
    // One product of a group or of a poly-object set: read, added, changed, deleted.
    const std::string& ownerName = seg[1];
    long productId = 0;
    // The project may be read again while a change is stored: the owner is looked up anew.
    auto find = [&](ProductOwner& o) -> CKdProductDef* {
      if (!findProductOwner(project_, ownerName, o)) return nullptr;
      return o.products->findId(productId);
    };
    ProductOwner owner;
    if (!findProductOwner(project_, ownerName, owner) ||
        (seg.size() == 3 && (!parseId(seg[2], productId) || !find(owner))))
      return call.fail(404, "no such product");
    if (seg.size() == 3 && get) {
      reply.body["item"] = productJson(project_, *find(owner));
      return reply;
    }
    const bool adding = seg.size() == 2 && rq.method == "POST";
    if (adding || (seg.size() == 3 && rq.method == "PUT")) {
      if (adding && call.text("desc").empty())
        return call.fail(400, "a product needs a description");
      if (std::string bad = checkProductFields(project_, call.body); !bad.empty())
        return call.fail(400, bad);
      storeChange(project_, reply, false, [&] {
        ProductOwner o;
        CKdProductDef* stored = find(o);
        if (!o.products || (!adding && !stored)) {
          reply.body["error"] = "the product is no longer in the dataset";
          return false;
        }
        // All fields or none: the change is made on a copy.
        CKdProductDef changed = adding ? CKdProductDef() : *stored;
        if (adding) {
          changed.setDbId(o.products->nextId(1, o.maxId));
          CKdGuid guid;
          guid.createValue();
          changed.setGuid(guid);
        }
        if (adding && changed.dbId() == 0) {
          reply.body["error"] = "no id is free for another product here";
          return false;
        }
        if (std::string refused = applyProductFields(project_, changed, call.body);
            !refused.empty()) {
          reply.body["error"] = refused;
          return false;
        }
        productId = changed.dbId();
        if (adding) return o.products->append(&changed);
        *stored = changed;
        return true;
      });
      if (reply.status == 200) {
        reply.body["item"] = productJson(project_, *find(owner));
        if (adding) reply.status = 201;
      }
      return reply;
    }
    if (seg.size() == 3 && rq.method == "DELETE") {
      storeChange(project_, reply, true, [&] {
        ProductOwner o;
        if (!find(o)) {
          reply.body["error"] = "the product is no longer in the dataset";
          return false;
        }
        const std::string refused = removeProduct(project_, o, o.products->indexOfId(productId));
        if (refused.empty()) return true;
        reply.body["error"] = refused;
        return false;
      });
      return reply;
    }
    return call.fail(405, "not an operation on a product");
  }

  for (const ListKind& k : listKinds()) {
    if (kind != k.name || seg.size() != 1 || !get) continue;
    json columns = json::array();
    for (const auto& [key, heading] : k.columns)
      columns.push_back({{"key", key}, {"title", heading}});
    reply.body = {{"columns", columns}, {"items", k.rows(project_)}};
    return reply;
  }
  return call.fail(404, "no such interface: " + rq.method + " " + rq.path);
}

}  // namespace vkdedit
