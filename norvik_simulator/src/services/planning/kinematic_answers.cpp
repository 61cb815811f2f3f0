#include "services/planning/kinematic_answers.hpp"

#include <exception>

#include "services/planning/messages/bad_request.hpp"
#include "services/planning/messages/wire_reading.hpp"
#include "services/planning/messages/wire_writing.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;

// Bytes. Answers have the small envelope, too.
constexpr size_t kLargestAnswer = 60'000;
constexpr size_t kLongestReason = 1024;

planning::FrameRef frame_of(const proto::ForwardKinematicRequest& request) {
  return request.ref_frame_case() == proto::ForwardKinematicRequest::kReferenceFrameName
             ? planning::FrameRef::link(request.reference_frame_name())
             : read_frame(request.parent_frame());
}

void answer_jacobian(const proto::JacobianRequest& request, const planning::Planner& planner,
                     const planning::RobotState& now, proto::JacobianResult& result) {
  const planning::RobotState state = read_state(request.robot_state(), now);
  if (const auto outcome = planner.model().check(state); !outcome) {
    throw BadRequest(outcome.description);
  }
  for (const std::string& link : request.link_names()) {
    const planning::Jacobian jacobian = planner.jacobian(link, read_frame(request.parent_frame()), state);
    if (jacobian.rows == 0) {
      throw BadRequest("no joint moves link " + printable_name(link) + ", or there is none");
    }
    (*result.mutable_jacobian_result())[link] = make_matrix(jacobian);
  }
}

void answer_inverse(const proto::InverseKinematicRequest& request, const planning::Planner& planner,
                    const planning::RobotState& now, const PlannerState::Snapshot& snapshot,
                    proto::InverseKinematicResult& result) {
  const auto solution =
      planner.inverse_kinematics(read_inverse(request, now), snapshot.scene, snapshot.settings.settings());
  if (!solution.outcome) {
    throw BadRequest(solution.outcome.description);
  }
  write_solution(solution, planner.model(), *result.mutable_ik_result());
}

}  // namespace

void write_link_poses(const planning::Planner& planner, const proto::ForwardKinematicRequest& request,
                      const planning::RobotState& now, google::protobuf::Map<std::string, spatial_proto::Pose>& poses) {
  const planning::RobotState state = read_state(request.robot_state(), now);
  const planning::FrameRef frame = frame_of(request);
  for (const std::string& link : request.link_names()) {
    const planning::FrameResult result = planner.forward_kinematics(link, frame, state);
    if (!result.outcome) {
      throw BadRequest(result.outcome.description);
    }
    write_pose(result.pose, poses[link]);
  }
}

proto::KinematicResponse answer_kinematics(const proto::KinematicRequest& request, const planning::Planner& planner,
                                           const planning::RobotState& now, const PlannerState::Snapshot& snapshot) {
  proto::KinematicResponse response;
  response.set_task_id(request.task_id());
  response.set_ret(true);
  try {
    switch (request.kinematic_req_case()) {
      case proto::KinematicRequest::kJacobianReq:
        answer_jacobian(request.jacobian_req(), planner, now, *response.mutable_jacobian_result());
        break;
      case proto::KinematicRequest::kForwardKinematicReq:
        write_link_poses(planner, request.forward_kinematic_req(), now,
                         *response.mutable_forward_kinematic_result()->mutable_fk_result());
        break;
      case proto::KinematicRequest::kInverseKinematicReq:
        answer_inverse(request.inverse_kinematic_req(), planner, now, snapshot,
                       *response.mutable_inverse_kinematic_result());
        break;
      default:
        return refuse_kinematics(request, "this kind of request is not implemented");
    }
    return response.ByteSizeLong() > kLargestAnswer ? refuse_kinematics(request, "the answer would be too large")
                                                    : response;
  } catch (const std::exception& error) {
    return refuse_kinematics(request, error.what());
  }
}

proto::KinematicResponse refuse_kinematics(const proto::KinematicRequest& request, const std::string& reason) {
  proto::KinematicResponse response;
  response.set_task_id(request.task_id());
  response.set_ret(false);
  response.set_msg(printable_name(reason, kLongestReason));
  return response;
}

}  // namespace norvik::simulator
