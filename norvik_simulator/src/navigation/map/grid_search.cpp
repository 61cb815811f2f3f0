#include "navigation/map/grid_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <boost/graph/astar_search.hpp>
#include <boost/graph/compressed_sparse_row_graph.hpp>
#include <opencv2/imgproc.hpp>

namespace norvik::simulator {

namespace {

struct Step {
  float weight;
};
using Graph = boost::compressed_sparse_row_graph<boost::directedS, boost::no_property, Step>;
using Vertex = boost::graph_traits<Graph>::vertex_descriptor;

constexpr double kDearest = 2.0;  // Extra cost of the narrowest cells, per length.
constexpr size_t kSpacing = 4;    // Cells between the points that straightening looks at.

struct FoundGoal {};

class StopAtGoal : public boost::default_astar_visitor {
 public:
  explicit StopAtGoal(Vertex goal) : goal_(goal) {}
  void examine_vertex(Vertex vertex, const Graph& /*graph*/) const {
    if (vertex == goal_) {
      throw FoundGoal();
    }
  }

 private:
  Vertex goal_;
};

class StraightLine : public boost::astar_heuristic<Graph, float> {
 public:
  StraightLine(int columns, const cv::Point& goal) : columns_(columns), goal_(goal) {}
  float operator()(Vertex vertex) const {
    const int cell = static_cast<int>(vertex);
    return static_cast<float>(std::hypot(cell % columns_ - goal_.x, cell / columns_ - goal_.y));
  }

 private:
  int columns_;
  cv::Point goal_;
};

float cost_of(double distance, double least, double liked) {
  const double missing = std::clamp(1.0 - (distance - least) / liked, 0.0, 1.0);
  return static_cast<float>(1.0 + kDearest * missing);
}

// Lengths are in cells.
Graph make_graph(const cv::Mat& distances, double least, double liked) {
  const cv::Rect all({0, 0}, distances.size());
  const auto is_free = [&](const cv::Point& cell) { return distances.at<float>(cell) >= static_cast<float>(least); };
  std::vector<std::pair<size_t, size_t>> edges;
  std::vector<Step> steps;
  for (int i = 0; i < all.area(); ++i) {
    const cv::Point cell(i % all.width, i / all.width);
    for (int k = 0; is_free(cell) && k < 9; ++k) {
      const cv::Point next = cell + cv::Point(k % 3 - 1, k / 3 - 1);
      if (next != cell && all.contains(next) && is_free(next)) {
        edges.emplace_back(i, next.y * all.width + next.x);
        steps.push_back({cost_of(distances.at<float>(next), least, liked) * (k % 2 == 0 ? 1.41422F : 1.0F)});
      }
    }
  }
  return {boost::edges_are_sorted, edges.begin(), edges.end(), steps.begin(), static_cast<size_t>(all.area())};
}

double narrowest(const cv::Mat& distances, const cv::Point& from, const cv::Point& to) {
  double narrowest = std::numeric_limits<double>::max();
  cv::LineIterator line(distances.size(), from, to, 8);
  for (int i = 0; i < line.count; ++i, ++line) {
    narrowest = std::min<double>(narrowest, distances.at<float>(line.pos()));
  }
  return narrowest;
}

}  // namespace

std::vector<cv::Point> search_grid(const cv::Mat& distances, double least, double liked, const cv::Point& start,
                                   const cv::Point& goal) {
  const int columns = distances.cols;
  const Graph graph = make_graph(distances, least, liked);
  const auto vertex_of = [columns](const cv::Point& cell) { return static_cast<Vertex>(cell.y * columns + cell.x); };
  std::vector<Vertex> before(boost::num_vertices(graph));
  try {
    boost::astar_search(
        graph, vertex_of(start), StraightLine(columns, goal),
        boost::weight_map(boost::get(&Step::weight, graph))
            .predecessor_map(boost::make_iterator_property_map(before.begin(), boost::get(boost::vertex_index, graph)))
            .visitor(StopAtGoal(vertex_of(goal))));
  } catch (const FoundGoal&) {
    std::vector<cv::Point> way = {goal};
    for (Vertex vertex = vertex_of(goal); before[vertex] != vertex; vertex = before[vertex]) {
      const int cell = static_cast<int>(before[vertex]);
      way.emplace_back(cell % columns, cell / columns);
    }
    std::reverse(way.begin(), way.end());
    return way;
  }
  return {};
}

std::vector<cv::Point> straighten(const cv::Mat& distances, double least, double liked,
                                  const std::vector<cv::Point>& way) {
  std::vector<cv::Point> points;
  std::vector<double> rooms;  // The narrowest place from the point before to each.
  double room = std::numeric_limits<double>::max();
  for (size_t i = 0; i < way.size(); ++i) {
    room = std::min<double>(room, distances.at<float>(way[i]));
    if (i % kSpacing == 0 || i + 1 == way.size()) {
      points.push_back(way[i]);
      rooms.push_back(room);
      room = distances.at<float>(way[i]);
    }
  }
  std::vector<cv::Point> corners = {points.front()};
  for (size_t from = 0; from + 1 < points.size();) {
    size_t best = from + 1;
    double passed = least + liked;
    for (size_t to = from + 1; to < points.size(); ++to) {
      passed = std::min(passed, rooms[to]);
      if (narrowest(distances, points[from], points[to]) >= passed - 1e-6) {
        best = to;
      }
    }
    corners.push_back(points[best]);
    from = best;
  }
  return corners;
}

}  // namespace norvik::simulator
