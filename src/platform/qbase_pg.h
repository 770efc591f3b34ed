#pragma once
// The PostgreSQL backend of the record database: a dataset is one schema of a database on a
// server, named by a URI (pg_connection.h), with the same tables and columns as a dataset
// file (one table per record code, one column per field, the record key as text primary
// key in byte order), beside three of its own: vxkd_dataset (format and version, as in a
// file), vxkd_state (the version counter that every write transaction advances) and
// vxkd_lock (the owner text of the edit lock, pg_dataset.h).
//
// A read is one read-only repeatable-read transaction: it sees one commit whole. An update
// is one transaction from open to close; it locks the state row first, so that writers take
// turns. A creation replaces the records of an existing dataset (its tables, and the rights
// granted on them, stay) or makes the schema. Changes of the layout (a table or column that
// an older dataset lacks) first take the state table exclusively, so that no reader sees
// half of them. Private to CQbase.

#include <memory>

#include "platform/qbase_backend.h"

std::unique_ptr<CQbaseBackend> makeQbasePgBackend(QbaseError& error);
