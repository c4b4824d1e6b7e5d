#include <gmock/gmock.h>

#include "db/faulty_odbc.h"

namespace {

using testing::ElementsAre;
using zrtest::failing;
using zrtest::odbc;
using zrtest::thrown;

class Pool : public zrtest::Connection {
 protected:
  Pool() { pool.setDbReconnectTrial(1); }
  std::string init(int size) {
    return thrown([&] { pool.init("", size, source.c_str(), "", ""); });
  }
  std::string borrow(ZrDbConnect** lent = nullptr) {
    return thrown([&] { (lent != nullptr ? *lent : connection) = pool.getConnect(); });
  }

  ZrDataAccess pool;
  ZrDbConnect* connection = nullptr;
};

TEST_F(Pool, ConnectionsAreLentInTheOrderOfTheirReturn) {
  EXPECT_EQ(borrow(), "Connection pool is not ready.");
  EXPECT_EQ(init(0), "NULL or 0 parameters");
  EXPECT_EQ(thrown([&] { pool.init(nullptr, 1, "", "", ""); }), "NULL or 0 parameters");
  ASSERT_EQ(init(3), "");
  ZrDbConnect* lent[3];
  for (ZrDbConnect*& each : lent)
    borrow(&each);
  EXPECT_EQ(borrow(), "Out of Db connection in pool.");
  EXPECT_TRUE(pool.reinit());  // none is idle
  pool.returnConnect(lent[2]);
  pool.returnConnect(lent[0]);
  EXPECT_TRUE(pool.getConnect() == lent[2] && pool.getConnect() == lent[0] && lent[0]->getConnID() == 1);
  EXPECT_EQ(thrown([&] { pool.returnConnect(nullptr); }), "Return NULL pointer");
  EXPECT_THAT(log.texts(1), ElementsAre("Connection pool is not ready.", "Out of Db connection in pool."));
}

TEST_F(Pool, PoolThatCannotBeBuiltIsEmpty) {
  odbc.faults = {{"Connect", {3, SQL_ERROR}}};
  EXPECT_EQ(init(3), "Failed to create connection.");
  EXPECT_EQ(odbc.handles, 0);
  failing = {sizeof(ZrDbConnect), 3};  // an object and its buffer, and the next object
  EXPECT_EQ(init(3), "Failed to allocate ZrDbConnect instance.");
  failing = {};
  EXPECT_TRUE(pool.m_vecConnect.empty());
  EXPECT_THAT(log.texts(1), ElementsAre("Failed to allocate ZrDbConnect instance."));
}

TEST_F(Pool, BrokenConnectionStaysUntilItsReplacementConnects) {
  ASSERT_EQ(init(1), "");
  borrow();
  connection->m_state = 6;
  pool.returnConnect(connection);
  odbc.faults = {{"Connect", {1, SQL_ERROR}}};
  EXPECT_EQ(borrow(), "Failed to create connection.");
  const std::string longName(100, 'x');
  failing = {1};
  for (int times = 0; times < 70; ++times)  // the queue needs memory now and then
    EXPECT_EQ(borrow(), "Failed to allocate ZrDbConnect instance.");
  EXPECT_EQ(thrown([&] { pool.init("", 1, "other", "other", longName.c_str()); }),
            "Failed to allocate ZrDbConnect instance.");
  failing = {};
  EXPECT_EQ(pool.m_dsn, source) << "it goes on with what it had";
  EXPECT_EQ(pool.m_deqIdleConnect.back(), connection);
  EXPECT_EQ(borrow(), "");
  EXPECT_TRUE(connection->getConnID() == 1 && connection->getState() == 2);
  EXPECT_EQ(pool.m_vecConnect.front(), connection);
}

}  // namespace
