#include "platform/qbase_vfs.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstddef>

#include "vxkd/platform/env.h"

namespace {

// Our file handle; the wrapped layer's handle follows it in the same allocation.
struct EnvFile {
  sqlite3_file base;
  // The name SQLite opened (the dataset or its journal); SQLite keeps it valid until xClose.
  const char* path;
};

constexpr size_t kRealOffset = (sizeof(EnvFile) + 15) & ~size_t{15};

sqlite3_file* realFile(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + kRealOffset);
}

const sqlite3_io_methods* realMethods(sqlite3_file* file) { return realFile(file)->pMethods; }

int envClose(sqlite3_file* file) { return realMethods(file)->xClose(realFile(file)); }

int envRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
  return realMethods(file)->xRead(realFile(file), buffer, amount, offset);
}

int envWrite(sqlite3_file* file, const void* data, int amount, sqlite3_int64 offset) {
  const char* path = reinterpret_cast<EnvFile*>(file)->path;
  int err = CEnv::current().checkDatabaseWrite(path ? path : "", static_cast<size_t>(amount));
  if (err == ENOSPC) return SQLITE_FULL;
  if (err != 0) return SQLITE_IOERR_WRITE;
  return realMethods(file)->xWrite(realFile(file), data, amount, offset);
}

int envTruncate(sqlite3_file* file, sqlite3_int64 size) {
  return realMethods(file)->xTruncate(realFile(file), size);
}

int envSync(sqlite3_file* file, int flags) {
  return realMethods(file)->xSync(realFile(file), flags);
}

int envFileSize(sqlite3_file* file, sqlite3_int64* size) {
  return realMethods(file)->xFileSize(realFile(file), size);
}

int envLock(sqlite3_file* file, int lock) { return realMethods(file)->xLock(realFile(file), lock); }

int envUnlock(sqlite3_file* file, int lock) {
  return realMethods(file)->xUnlock(realFile(file), lock);
}

int envCheckReservedLock(sqlite3_file* file, int* out) {
  return realMethods(file)->xCheckReservedLock(realFile(file), out);
}

int envFileControl(sqlite3_file* file, int op, void* arg) {
  return realMethods(file)->xFileControl(realFile(file), op, arg);
}

int envSectorSize(sqlite3_file* file) { return realMethods(file)->xSectorSize(realFile(file)); }

int envDeviceCharacteristics(sqlite3_file* file) {
  return realMethods(file)->xDeviceCharacteristics(realFile(file));
}

// Shared memory serves WAL only, which a dataset never uses; forwarded all the same.
int envShmMap(sqlite3_file* file, int page, int size, int extend, void volatile** out) {
  const sqlite3_io_methods* m = realMethods(file);
  return m->iVersion >= 2 ? m->xShmMap(realFile(file), page, size, extend, out) : SQLITE_IOERR;
}

int envShmLock(sqlite3_file* file, int offset, int n, int flags) {
  const sqlite3_io_methods* m = realMethods(file);
  return m->iVersion >= 2 ? m->xShmLock(realFile(file), offset, n, flags) : SQLITE_IOERR;
}

void envShmBarrier(sqlite3_file* file) {
  const sqlite3_io_methods* m = realMethods(file);
  if (m->iVersion >= 2) m->xShmBarrier(realFile(file));
}

int envShmUnmap(sqlite3_file* file, int deleteFlag) {
  const sqlite3_io_methods* m = realMethods(file);
  return m->iVersion >= 2 ? m->xShmUnmap(realFile(file), deleteFlag) : SQLITE_OK;
}

int envFetch(sqlite3_file* file, sqlite3_int64 offset, int amount, void** out) {
  const sqlite3_io_methods* m = realMethods(file);
  if (m->iVersion >= 3) return m->xFetch(realFile(file), offset, amount, out);
  *out = nullptr;
  return SQLITE_OK;
}

int envUnfetch(sqlite3_file* file, sqlite3_int64 offset, void* page) {
  const sqlite3_io_methods* m = realMethods(file);
  return m->iVersion >= 3 ? m->xUnfetch(realFile(file), offset, page) : SQLITE_OK;
}

const sqlite3_io_methods kEnvMethods = {
    3,
    envClose,
    envRead,
    envWrite,
    envTruncate,
    envSync,
    envFileSize,
    envLock,
    envUnlock,
    envCheckReservedLock,
    envFileControl,
    envSectorSize,
    envDeviceCharacteristics,
    envShmMap,
    envShmLock,
    envShmBarrier,
    envShmUnmap,
    envFetch,
    envUnfetch,
};

sqlite3_vfs* realVfs(sqlite3_vfs* vfs) { return static_cast<sqlite3_vfs*>(vfs->pAppData); }

int envOpen(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  auto* f = reinterpret_cast<EnvFile*>(file);
  f->base.pMethods = nullptr;
  f->path = name;
  sqlite3_file* real = realFile(file);
  real->pMethods = nullptr;
  sqlite3_vfs* inner = realVfs(vfs);
  int rc = inner->xOpen(inner, name, real, flags, outFlags);
  // SQLite closes a handle whose methods are set, even after a failed open.
  if (real->pMethods) f->base.pMethods = &kEnvMethods;
  return rc;
}

int envDelete(sqlite3_vfs* vfs, const char* name, int syncDir) {
  return realVfs(vfs)->xDelete(realVfs(vfs), name, syncDir);
}

int envAccess(sqlite3_vfs* vfs, const char* name, int flags, int* out) {
  return realVfs(vfs)->xAccess(realVfs(vfs), name, flags, out);
}

int envFullPathname(sqlite3_vfs* vfs, const char* name, int size, char* out) {
  return realVfs(vfs)->xFullPathname(realVfs(vfs), name, size, out);
}

void* envDlOpen(sqlite3_vfs* vfs, const char* name) {
  return realVfs(vfs)->xDlOpen(realVfs(vfs), name);
}

void envDlError(sqlite3_vfs* vfs, int size, char* out) {
  realVfs(vfs)->xDlError(realVfs(vfs), size, out);
}

void (*envDlSym(sqlite3_vfs* vfs, void* handle, const char* symbol))(void) {
  return realVfs(vfs)->xDlSym(realVfs(vfs), handle, symbol);
}

void envDlClose(sqlite3_vfs* vfs, void* handle) { realVfs(vfs)->xDlClose(realVfs(vfs), handle); }

int envRandomness(sqlite3_vfs* vfs, int size, char* out) {
  return realVfs(vfs)->xRandomness(realVfs(vfs), size, out);
}

int envSleep(sqlite3_vfs* vfs, int microseconds) {
  return realVfs(vfs)->xSleep(realVfs(vfs), microseconds);
}

int envCurrentTime(sqlite3_vfs* vfs, double* out) {
  return realVfs(vfs)->xCurrentTime(realVfs(vfs), out);
}

int envGetLastError(sqlite3_vfs* vfs, int size, char* out) {
  sqlite3_vfs* inner = realVfs(vfs);
  return inner->xGetLastError ? inner->xGetLastError(inner, size, out) : 0;
}

int envCurrentTimeInt64(sqlite3_vfs* vfs, sqlite3_int64* out) {
  sqlite3_vfs* inner = realVfs(vfs);
  if (inner->iVersion >= 2 && inner->xCurrentTimeInt64) return inner->xCurrentTimeInt64(inner, out);
  double days = 0;
  int rc = inner->xCurrentTime(inner, &days);
  *out = static_cast<sqlite3_int64>(days * 86400000.0);
  return rc;
}

sqlite3_vfs* registerVfs() {
  if (sqlite3_initialize() != SQLITE_OK) return nullptr;
  sqlite3_vfs* inner = sqlite3_vfs_find(nullptr);
  if (!inner) return nullptr;
  static sqlite3_vfs vfs = {};
  vfs.iVersion = 2;
  vfs.szOsFile = static_cast<int>(kRealOffset) + inner->szOsFile;
  vfs.mxPathname = inner->mxPathname;
  vfs.zName = "vxkd-env";
  vfs.pAppData = inner;
  vfs.xOpen = envOpen;
  vfs.xDelete = envDelete;
  vfs.xAccess = envAccess;
  vfs.xFullPathname = envFullPathname;
  vfs.xDlOpen = envDlOpen;
  vfs.xDlError = envDlError;
  vfs.xDlSym = envDlSym;
  vfs.xDlClose = envDlClose;
  vfs.xRandomness = envRandomness;
  vfs.xSleep = envSleep;
  vfs.xCurrentTime = envCurrentTime;
  vfs.xGetLastError = envGetLastError;
  vfs.xCurrentTimeInt64 = envCurrentTimeInt64;
  if (sqlite3_vfs_register(&vfs, 0) != SQLITE_OK) return nullptr;
  return &vfs;
}

}  // namespace

const char* qbaseVfsName() {
  static sqlite3_vfs* vfs = registerVfs();
  return vfs ? vfs->zName : nullptr;
}
