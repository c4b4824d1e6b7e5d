#include <cstddef>
#include <gtest/gtest.h>

#include "config/ConfigFile.h"
#include "db/ZrDataAccess.h"

// Hosts that are compiled against the headers find members at these places, in either word size. Not every class is of
// standard layout, but both compilers that hosts use place the members of all of them in order.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

struct Place {
  const char* member;
  std::size_t is, on64, on32;
};

template <typename Class>
void check(const char* name, std::size_t sizeOn64, std::size_t sizeOn32, std::initializer_list<Place> places) {
  constexpr bool k64 = sizeof(void*) == 8;
  EXPECT_EQ(sizeof(Class), k64 ? sizeOn64 : sizeOn32) << name;
  for (const Place& place : places)
    EXPECT_EQ(place.is, k64 ? place.on64 : place.on32) << name << "::" << place.member;
}

constexpr Place at(const char* member, std::size_t is, std::size_t on64, std::size_t on32) {
  return {member, is, on64, on32};
}

#define AT(member, on64, on32) at(#member, offsetof(Class, member), on64, on32)

TEST(Layout, MembersStandWhereHostsWereCompiledToFindThem) {
  {
    using Class = ZrDbColumn;
    check<Class>("ZrDbColumn", 80, 60,
                 {AT(m_colNo, 0, 0), AT(m_sqlType, 4, 4), AT(m_name, 8, 8), AT(m_value, 40, 32), AT(m_isNull, 72, 56)});
  }
  {
    using Class = ZrDbConnect;
    check<Class>("ZrDbConnect", 208, 124,
                 {AT(m_hdbc, 8, 4), AT(m_state, 16, 8), AT(m_connID, 20, 12), AT(m_columnCount, 24, 16),
                  AT(m_resultSetNo, 28, 20), AT(m_connectTimeOut, 32, 24), AT(m_retrialTimeOut, 36, 28),
                  AT(m_reconnectTrial, 40, 32), AT(m_dbmsType, 44, 36), AT(m_mutex, 48, 40), AT(m_mapColumn, 96, 68),
                  AT(m_hstmt, 144, 92), AT(m_henv, 152, 96), AT(m_pConverter, 160, 100),
                  AT(m_describedRowCount, 168, 104), AT(m_vecColumnByNo, 176, 108), AT(m_pTransfer, 200, 120)});
  }
  {
    using Class = ZrDataAccess;
    check<Class>(
        "ZrDataAccess", 312, 196,
        {AT(m_poolReady, 8, 4), AT(m_mutex, 16, 8), AT(m_dbConnectTimeOut, 64, 36), AT(m_dbRetrialTimeOut, 68, 40),
         AT(m_dbReconnectTrial, 72, 44), AT(m_vecConnect, 80, 48), AT(m_deqIdleConnect, 104, 60),
         AT(m_strConnectString, 184, 100), AT(m_dsn, 216, 124), AT(m_user, 248, 148), AT(m_pass, 280, 172)});
  }
  {
    using Class = ZrSqlLoader;
    check<Class>("ZrSqlLoader", 32, 24, {AT(m_strSqlDir, 0, 0)});
  }
  {
    using Class = ConfigFile;
    check<Class>("ConfigFile", 16, 8, {AT(m_pImpl, 8, 4)});
  }
  {
    using Class = ConfigFileImpl;
    check<Class>("ConfigFileImpl", 88, 52, {AT(m_sections, 0, 0), AT(m_filename, 48, 24), AT(m_ok, 80, 48)});
  }
}

}  // namespace
