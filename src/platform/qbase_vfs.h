#pragma once
// The SQLite file layer of the record database: the system's default layer with every write
// first put to CEnv::checkDatabaseWrite, so that a test can fill the disk at the Nth write.
// Private to CQbase.

// The name under which the layer is registered (on the first call), or null when SQLite
// has no default layer to wrap.
const char* qbaseVfsName();
