#ifndef ZR_DB_ZRDBCONNECT_H
#define ZR_DB_ZRDBCONNECT_H

#include <map>
#include <memory>
#include <sql.h>
#include <sqlext.h>
#include <string>
#include <strings.h>
#include <vector>

#include "db/ZrDbColumn.h"
#include "support/export.h"
#include "vexa/VexaMutex.h"

struct UConverter;

namespace zr {
struct TransferBuffer;
}

// The order of column names: strcasecmp's, so that names are found in either case (ASCII). Takes plain strings too,
// which spares a lookup the making of a std::string.
struct caseInsensitiveLessDef {
  using is_transparent = void;
  bool operator()(const std::string& a, const std::string& b) const { return (*this)(a.c_str(), b.c_str()); }
  bool operator()(const std::string& a, const char* b) const { return (*this)(a.c_str(), b); }
  bool operator()(const char* a, const std::string& b) const { return (*this)(a, b.c_str()); }
  bool operator()(const char* a, const char* b) const { return strcasecmp(a, b) < 0; }
};

// One connection to the policy database through ODBC 3: connects with retries, runs statements, hands out their rows.
//
// State (m_state, getState); operations compare it as a number, so state 6 passes every test but `connect`'s loss of
// it:
//   0  unusable, no ICU converter       3  a statement has been executed
//   1  not connected                    4  a result set is described, the columns are known
//   2  connected, no result             5  a row has been fetched, its values can be read
//   6  broken: a statement failed while it was bound, executed or sent its data. Further statements are accepted, but
//      a failure while data was sent leaves the statement handle unusable with most drivers (HY010 at every later
//      call); the pool replaces a connection in this state when it next lends it.
//
// Ownership: the object owns its ODBC handles, its converter and its column records, and frees them when it goes.
// Threads: one thread at a time; no operation takes a lock. Objects share nothing, not even the ODBC environment.
// Failures: thrown as const char* to static text, which the catcher does not free. "Logged" means one line through
// LogPrintf (level 1); where an ODBC call failed, the line goes on with a blank and the handle's diagnostics as
// getError writes them. Return codes SQL_SUCCESS and SQL_SUCCESS_WITH_INFO are success, all others are failures unless
// stated otherwise.
class ZR_EXPORT ZrDbConnect {
 public:
  // How executeSQL hands the statement's text to the driver. Any other value works as SQLTYPE_ANSI.
  enum SQL_TYPE : int {
    SQLTYPE_ANSI = 0,    // as it is
    SQLTYPE_UNICODE = 1  // read as UTF-8 (RFC 3629), converted to UTF-16
  };

  // State 1, nothing allocated of ODBC. When no ICU converter can be opened the state is 0 and
  // "ZrDbConnect::ZrDbConnect(), failed to create ICU convertor." is logged. Throws std::bad_alloc.
  ZrDbConnect();
  // Disconnects and frees everything. Never throws; a failure on the way is logged as
  // "ZrDbConnect::~ZrDbConnect(), failed to cleanup db resource".
  virtual ~ZrDbConnect();
  ZrDbConnect(const ZrDbConnect&) = delete;
  ZrDbConnect& operator=(const ZrDbConnect&) = delete;

  // The three settings take effect at the next connect; values are not checked.
  void setDbConnectTimeOut(int seconds);  // login time-out of each attempt; 30 in a new object
  void setDbRetrialTimeOut(int seconds);  // sleep after each failed attempt; 10; a negative number counts as 0
  void setDbReconnectTrial(int count);    // number of attempts; 5

  // A number for the owner's use; the object does nothing with it. 0 in a new object.
  void setConnID(int id);
  int getConnID() const;

  int getState() const;

  // Allocates the ODBC environment and asks for ODBC 3 behaviour. connect does this itself where it is needed; not to
  // be called while the object holds an environment.
  //
  // Throws, and logs the same text
  //   "Failed to allocate ODBC HENV."      no environment
  //   "Failed to allocate ODBC env attr."  ODBC 3 refused; the environment is kept until disconnect
  void createOdbcEnv();

  // Connects to the data source `dsn` as `user` with `password` (none of them null), allocates the statement handle and
  // finds out the kind of server (m_dbmsType). `connectString` must not be null and is not used otherwise.
  //
  // Makes up to m_reconnectTrial attempts with a login time-out of m_connectTimeOut seconds, and sleeps
  // m_retrialTimeOut seconds after each that fails, the last one included. An object that still holds a connection is
  // disconnected first. State 2 on success; 1 after a failure, except the first two, which change nothing.
  //
  // Throws
  //   "ZrDbConnect is not ready to create connection"  state 0
  //   "DB connection string is NULL"                   `connectString` is null
  //   "Failed to create connection."                   every attempt failed, or m_reconnectTrial is below 1 and there
  //                                                    was none; the environment is freed. Diagnostics are not read
  //   "Failed to allocate ODBC HDBC handle."           logged; not tried again; the environment is freed
  //   "Failed to alloacte HSTMT handle"                logged as "ZrDbConnect::connect(), failed to alloacte HSTMT
  //                                                    handle"; the connection stays open until disconnect
  //   "Failed to retrieve DBMS information"            logged as "ZrDbConnect::connect, failed to retrieve DBMS
  //                                                    information"; likewise; SQL_SUCCESS alone is success here
  //   and what createOdbcEnv throws
  void connect(const char* connectString, const char* dsn, const char* user, const char* password);

  // Frees all ODBC handles and the columns; state 1, whatever it was. May be called at any time and any number of
  // times. Never throws; a failure on the way is logged as "ZrDbConnect::disconnect(), failed to cleanup db resource".
  void disconnect();

  // Closes an open cursor and returns the statement handle for ODBC calls of the caller's own. The object keeps it.
  // Throws "Connection is not ready." below state 2.
  SQLHSTMT getStmtHandle();

  // Writes the diagnostic records of `handle` one behind the other into `buffer`, each as
  // "- MESSAGE [State:SQLSTATE][NativeErr:NUMBER]", cut at `bufferSize` - 1 bytes and always zero-terminated; the empty
  // text when there are none. `handleType` is SQL_HANDLE_ENV, SQL_HANDLE_DBC or SQL_HANDLE_STMT. Does nothing when
  // `buffer` is null or `bufferSize` below 1. After an 11th record it stops and logs
  // "ZrDbConnect::getError(), the number of diag errors is greater then 10, might be something wrong.".
  void getError(short handleType, void* handle, char* buffer, int bufferSize);

  // Deletes the columns of the current result set, values included; state 2.
  void purgeColumnList();

  // Runs one statement and describes its first result set that has columns; then rows can be fetched at once (state 4;
  // with m_columnCount 0 when it has none). Whatever the last statement left open is closed first. The driver's
  // auto-commit mode is left as it is. A statement without parameters that touches no row (SQL_NO_DATA) succeeds.
  //
  // After `type` stands one `const std::ifstream*` for each `?` that getParamCount finds, in their order: no more and
  // no fewer, which cannot be checked. The streams stay the caller's and alive until the call returns; they are read
  // from where they stand. Each is sent as Base64 text (RFC 4648) in pieces of 65,536 bytes, never held whole, and
  // stored as a long text. A null pointer, an empty stream and one at its end send nothing, which the unixODBC driver
  // manager refuses (HY010, state 6).
  //
  // Throws
  //   "NULL SQL statement."       `sql` is null
  //   "Connection is not ready."  below state 2
  //   "ZrDbConnect::executeSQL(), failed to allocate memory for UTF-8 to UTF-16 conversion"  logged as
  //       "ZrDbConnect::executeSQL() failed to allocate memory for UTF-8 to UTF-16 conversion.  Check system processes
  //       for excessive memory consumption."; the state stays as it was
  //   "ZrDbConnect::executeSQL(), failed to convert UTF-8 to UTF-16"  logged; the state stays as it was
  //   "ZrDbConnect::executeSQL(), failed to bind parameter"           logged; state 6
  //   "Failed to execute SQL"     logged as "Failed to execute SQL::" with the statement; state 6
  //   "Failed on SQLPutData"      logged as "ZrDbConnect::executeSQL(), failed on SQLPutData"; state 6, see above
  //   "ZrDbConnect::executeSQL(), failed on SQLParamData"  logged; state 6, see above; also when a statement with
  //       parameters touches no row and the driver reports that as SQL_NO_DATA
  //   and what describing a result set throws (see fetchNextResultSet); the statement has been executed then; state 2
  void executeSQL(const char* sql, SQL_TYPE type, ...);

  // The number of `?` outside single-quoted literals, in which '' stands for a quote. Counting ends at a literal that
  // is not closed, and does not look at the character right behind a closing quote. Double quotes and comments are not
  // known: a `?` in them counts. 0 for null.
  int getParamCount(const char* sql);

  // The number of rows that the last statement touched; for a query whatever the driver reports, often -1. When the
  // driver can no longer tell, the number it gave while the last result was described. Throws nothing and tests no
  // state: 0 on an object without a statement.
  SQLLEN getRowCount();

  // Moves on to the next result set of the last statement (executeSQL has described the first), passing over results
  // without columns, and describes it. Raises m_resultSetNo by 1 for each result that it leaves.
  //
  // Returns 0 when a result set has been described (state 4; m_columnCount is 0 when only results without columns were
  // left), and 1, with nothing changed, when there is no further result or the driver fails to say so.
  //
  // Throws; state 2 and no columns after all but the first
  //   "No SQL has been executed."         below state 3; logged
  //   "Failed to get column count."       logged as "Failed to get column count..."
  //   "Failed to get raw count."          logged as "Failed to get raw count..."
  //   "Failed to get columns information" logged as "Failed to get columns information, column [N]."
  //   "Failed to allocate ZrDbColumn object."     no memory; logged
  //   "Failed to insert column object into map"   two columns whose names are equal but for their case; logged as
  //                                               "Failed to insert column object into map, column [NAME]."
  int fetchNextResultSet();

  // Fetches the next row and reads every value of it, of any length, into the columns as text: wide character data
  // converted to UTF-8, binary data unread as "BINARY DATA", everything else as the driver gives it. NULL reads as the
  // empty text; the column's record tells the two apart (ZrDbColumn::m_isNull).
  //
  // Returns 0 when a row has been fetched (state 5) and 1 when there is none left: the values of the last row stay.
  //
  // Throws, also std::bad_alloc when there is no memory for a value; the state stays as it was, and values from the
  // failing column on may be partial or old
  //   "Column information is not ready."  below state 4; logged
  //   "Failed to fetch next row."         logged
  //   "Failed to fetch char data"         logged as "ZrDbConnect::fetchNextRow(), failed to fetch char data"
  //   "Failed to convert UTF-16 data to UTF-8."  logged as one of, each with "Column name: NAME" behind a blank:
  //       "Failed to allocate target buffer for converting UTF-16 data to UTF-8."
  //       "Failed to allocate source buffer for converting UTF-16 data to UTF-8."
  //       "Failed to convert UTF-16 data to UTF-8."
  //   "Failed to retrieve ZrDbColumn object from map list."  m_mapColumn holds a null; logged
  //   "Could not found matched ZrDbColumn object"            m_mapColumn lacks a column; logged
  int fetchNextRow();

  // The text of the named column (in either case) in the current row. It belongs to the column: valid until the next
  // fetchNextRow, fetchNextResultSet, executeSQL, purgeColumnList or disconnect.
  //
  // Throws
  //   "NULL szColName parameter"  the name is null
  //   "The data is not ready"     below state 5, or no columns; logged
  //   "Can not find data\n"       no such column; logged as
  //                               "ZrDbConnect::getColVal() Can not find data column name is" with the name, "\n"
  const char* getColVal(const char* szColName);

  // The value as a decimal integer; blanks may stand before it. A number out of the type's range ends at the range's
  // border. Text that is not exactly one integer throws nothing: the number at its beginning is returned, or 0 when
  // there is none, and "Could not convert string to int, column name:[NAME], value:[TEXT]" is logged, after
  // "Invalid character = C\n" with the character behind the number, where there is one. Throws as getColVal does.
  int getColValInt(const char* szColName);
  long long getColValLongLong(const char* szColName);

  SQLHDBC m_hdbc = nullptr;   // connection handle, null when not connected
  int m_state = 1;            // see above
  int m_connID = 0;           // the owner's number
  int m_columnCount = 0;      // columns of the current result set
  int m_resultSetNo = 0;      // number of the current result of the last statement, from 1
  int m_connectTimeOut = 30;  // seconds
  int m_retrialTimeOut = 10;  // seconds
  int m_reconnectTrial = 5;   // attempts
  int m_dbmsType = 0;         // set by connect: 0 Microsoft SQL Server, 1 PostgreSQL and every other server
  VEXA::VexaMutex m_mutex;    // for the owner's use; no operation locks it
  std::map<std::string, ZrDbColumn*, caseInsensitiveLessDef> m_mapColumn;  // columns by name; owns them
  SQLHSTMT m_hstmt = nullptr;          // the one statement handle, null when not connected
  SQLHENV m_henv = nullptr;            // environment handle, null when there is none
  UConverter* m_pConverter = nullptr;  // ICU's, for UTF-8

  // The library's own.
  SQLLEN m_describedRowCount = -1;           // row count of the last result described; -1 unknown
  std::vector<ZrDbColumn*> m_vecColumnByNo;  // columns by number, for the row being read; owned by m_mapColumn
  std::unique_ptr<zr::TransferBuffer> m_pTransfer;
};

#endif  // ZR_DB_ZRDBCONNECT_H
