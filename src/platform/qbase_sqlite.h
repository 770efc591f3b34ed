#pragma once
// The SQLite backend of the record database: a dataset is one file, opened against the
// dictionary, one table per record code (qbase_schema.h). A read is a shared transaction on
// a read-only connection; an update one exclusive transaction, begun after the file passed
// the integrity check; a creation builds a new file beside the target and renames it into
// place at the close. Private to CQbase.

#include <memory>

#include "platform/qbase_backend.h"

std::unique_ptr<CQbaseBackend> makeQbaseSqliteBackend(QbaseError& error);
