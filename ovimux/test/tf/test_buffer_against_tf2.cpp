// Random histories are fed to the buffer and to tf2's; every answer of ours must be tf2's answer.
#include <geometry_msgs/TransformStamped.h>
#include <gtest/gtest.h>
#include <tf2/buffer_core.h>
#include <tf2/exceptions.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <vector>

#include "tf_messages.hpp"

namespace norvik::ovimux::tf2_ovimux {
namespace {

struct Scenario {
  const char* name;
  int frames;
  double static_share;    // Of the frames.
  double reparent_share;  // Of the stored transforms.
  int64_t span_ns;        // Stamps lie in (0, span].
  int64_t stamp_grid_ns;  // Stamps and half of the queries fall on it, so that they often coincide.
  int transforms;
};

class OracleTest : public ::testing::TestWithParam<Scenario> {
 protected:
  static unsigned seed() {
    const char* fixed = std::getenv("NORVIK_TEST_SEED");
    return fixed != nullptr ? static_cast<unsigned>(std::atoi(fixed)) : std::random_device{}();
  }

  int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
  bool chance(double share) { return std::bernoulli_distribution(share)(random_); }
  double number() { return std::normal_distribution<double>()(random_); }
  int64_t grid_stamp() {
    return (1 + pick(static_cast<int>(GetParam().span_ns / GetParam().stamp_grid_ns))) * GetParam().stamp_grid_ns;
  }
  static std::string frame(int index) { return "f" + std::to_string(index); }

  // A parent of lower index keeps the forest free of loops at any one time; frame 0 and some others are roots.
  void feed_one() {
    const int child = 1 + pick(GetParam().frames - 1);
    const int usual_parent = (child * 7 + 3) % child;
    const int parent = chance(GetParam().reparent_share) ? pick(child) : usual_parent;
    const bool is_static = child < GetParam().frames * GetParam().static_share;
    store(frame(parent), frame(child), chance(0.01) ? 0 : grid_stamp(), is_static);
  }

  void store(const std::string& parent, const std::string& child, int64_t stamp_ns, bool is_static) {
    const Eigen::Vector3d t(number(), number(), number());
    const Eigen::Quaterniond q = Eigen::Quaterniond(number(), number(), number(), number()).normalized();
    geometry_msgs::TransformStamped theirs;
    theirs.header.frame_id = parent;
    theirs.header.stamp.fromNSec(static_cast<uint64_t>(stamp_ns));
    theirs.child_frame_id = child;
    theirs.transform.translation.x = t.x();
    theirs.transform.translation.y = t.y();
    theirs.transform.translation.z = t.z();
    theirs.transform.rotation.x = q.x();
    theirs.transform.rotation.y = q.y();
    theirs.transform.rotation.z = q.z();
    theirs.transform.rotation.w = q.w();
    const bool taken = buffer_->setTransform(make_transform(parent, child, stamp_ns, t, q), is_static);
    ASSERT_EQ(oracle_.setTransform(theirs, "test", is_static), taken)
        << child << " in " << parent << " at " << stamp_ns;
    refused_ += taken ? 0 : 1;
  }

  void query_one() {
    const std::string target = frame(pick(GetParam().frames + 1));  // One beyond: a frame nobody knows.
    const std::string source = frame(pick(GetParam().frames + 1));
    const int64_t stamp_ns = chance(0.3) ? 0 : grid_stamp() - (chance(0.5) ? 0 : pick(1000000));
    SCOPED_TRACE(source + " in " + target + " at " + std::to_string(stamp_ns));
    ros::Time time;
    time.fromNSec(static_cast<uint64_t>(stamp_ns));
    const bool can = oracle_.canTransform(target, source, time);
    ASSERT_EQ(can, buffer_->canTransform(target, source, at(stamp_ns)));
    ++(can ? answered_ : unanswered_);
    if (can) {
      compare(oracle_.lookupTransform(target, source, time), buffer_->lookupTransform(target, source, at(stamp_ns)));
    } else {
      ASSERT_THROW(buffer_->lookupTransform(target, source, at(stamp_ns)), TransformException);
    }
  }

  static void compare(const geometry_msgs::TransformStamped& theirs, const spatial_proto::TransformMsg& ours) {
    const auto& t = ours.transform().translation();
    const auto& q = ours.transform().rotation();
    const Eigen::Matrix<double, 7, 1> mine =
        (Eigen::Matrix<double, 7, 1>() << t.x(), t.y(), t.z(), q.x(), q.y(), q.z(), q.w()).finished();
    const auto& tt = theirs.transform.translation;
    const auto& tq = theirs.transform.rotation;
    const Eigen::Matrix<double, 7, 1> expected =
        (Eigen::Matrix<double, 7, 1>() << tt.x, tt.y, tt.z, tq.x, tq.y, tq.z, tq.w).finished();
    ASSERT_LT((mine - expected).cwiseAbs().maxCoeff(), 1e-9)
        << "ours " << mine.transpose() << "\ntf2  " << expected.transpose();
    ASSERT_EQ(theirs.header.stamp.sec, ours.header().timestamp().sec());
    ASSERT_EQ(theirs.header.stamp.nsec, ours.header().timestamp().nanosec());
    ASSERT_EQ(theirs.header.frame_id, ours.header().frame_id());
    ASSERT_EQ(theirs.child_frame_id, ours.child_frame_id());
  }

  static std::vector<std::string> sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return names;
  }

  std::mt19937 random_;
  std::shared_ptr<Buffer> buffer_ = make_buffer();
  tf2::BufferCore oracle_{ros::Duration(10.0)};
  int answered_ = 0;
  int unanswered_ = 0;
  int refused_ = 0;
};

TEST_P(OracleTest, AnswersAsTf2Does) {
  const unsigned base = seed();
  random_.seed(base);
  SCOPED_TRACE("NORVIK_TEST_SEED=" + std::to_string(base));
  for (int i = 0; i < GetParam().transforms; ++i) {
    ASSERT_NO_FATAL_FAILURE(feed_one());
    if (i > GetParam().transforms / 10) {
      for (int query = 0; query < 4; ++query) {
        ASSERT_NO_FATAL_FAILURE(query_one());
      }
    }
    if (i == GetParam().transforms * 3 / 4) {
      buffer_->clear();
      oracle_.clear();
    }
  }
  std::vector<std::string> names;
  oracle_._getFrameStrings(names);
  EXPECT_EQ(sorted(names), sorted(buffer_->getAllFrameNames()));
  std::cout << "seed " << base << ": " << answered_ << " answers, " << unanswered_ << " without, " << refused_
            << " transforms refused\n";
  EXPECT_GT(answered_, 200);
  EXPECT_GT(unanswered_, 200);
}

INSTANTIATE_TEST_SUITE_P(, OracleTest,
                         ::testing::Values(Scenario{"Steady", 8, 0.3, 0.0, 4 * kSecond, kSecond / 100, 3000},
                                           Scenario{"AllDynamic", 12, 0.0, 0.0, 9 * kSecond, kSecond / 10, 2000},
                                           Scenario{"ReparentingInTime", 8, 0.2, 0.3, 4 * kSecond, kSecond / 10, 2000},
                                           Scenario{"CacheExpiry", 6, 0.2, 0.1, 40 * kSecond, kSecond / 4, 3000},
                                           Scenario{"SparseAndDeep", 40, 0.5, 0.02, 5 * kSecond, kSecond / 2, 2000},
                                           Scenario{"NearlyAllStatic", 20, 0.9, 0.05, 5 * kSecond, kSecond / 50, 1500}),
                         [](const auto& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace norvik::ovimux::tf2_ovimux
