#pragma once
// A new empty folder below the system's temporary folder, removed with everything in it when
// the object goes.

#include <string>

class CScratchFolder {
 public:
  CScratchFolder();
  ~CScratchFolder();
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;

  const std::string& path() const { return path_; }
  // path() + "/" + name.
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Writes `bytes` as the whole file `name` (relative to the folder), creating its folders.
  void write(const std::string& name, const std::string& bytes) const;
  // The whole file `name`; "" when it cannot be read.
  std::string read(const std::string& name) const;

 private:
  std::string path_;
};

// Sets an environment variable for the life of the object, then restores the old value.
class CScopedEnv {
 public:
  CScopedEnv(const char* name, const std::string& value);
  ~CScopedEnv();
  CScopedEnv(const CScopedEnv&) = delete;
  CScopedEnv& operator=(const CScopedEnv&) = delete;

 private:
  std::string name_;
  std::string old_;
  bool hadOld_ = false;
};
