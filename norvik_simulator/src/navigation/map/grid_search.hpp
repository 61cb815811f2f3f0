#pragma once

#include <vector>
#include <opencv2/core.hpp>

namespace norvik::simulator {

// The cheapest way over the cells of a grid from `start` to `goal`, both included; empty when there is none. Cells
// nearer than `least` to an obstacle are left out, and those with less than `liked` more than that cost up to three
// times as much. `distances` are those of the cells' centres to the nearest obstacle (32 bit float), in the unit of the
// others.
std::vector<cv::Point> search_grid(const cv::Mat& distances, double least, double liked, const cv::Point& start,
                                   const cv::Point& goal);

// The same way with as few corners as it needs when it may not come nearer to an obstacle than it did, or than `liked`
// more than `least`.
std::vector<cv::Point> straighten(const cv::Mat& distances, double least, double liked,
                                  const std::vector<cv::Point>& way);

}  // namespace norvik::simulator
