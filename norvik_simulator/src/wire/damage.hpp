#pragma once

#include <string>
#include <google/protobuf/message.h>

#include "wire/wire_faults.hpp"

namespace norvik::simulator {

// What a bad sensor or driver does to a message: it still parses, but what it carries is spoilt. Headers stay.

// Fills byte fields with garbage of the same length, and floating point fields with NaN.
void corrupt(google::protobuf::Message& message);
// Cuts a third off every byte field.
void shorten(google::protobuf::Message& message);

// Leaves nothing but the header.
void empty(google::protobuf::Message& message);
// Tells something else about the data than what it is: encodings that do not exist, matrices of another shape.
void mislabel(google::protobuf::Message& message);
// Repeats the longest list in it until it nearly fills an envelope.
void inflate(google::protobuf::Message& message);

// Whether a fault befalls what a message carries, and that fault.
bool spoils_content(TopicFault fault);
void spoil(google::protobuf::Message& message, TopicFault fault);
// What is left of an answer.
std::string damaged_reply(const std::string& response, ReplyFault fault);
// Puts the name of another task into the field "task_id" of a message that has one.
void mislabel_task(google::protobuf::Message& message);

// The same for JSON text: no JSON any more, and values of the wrong types.
std::string corrupt(const std::string& json_text);
std::string retype(const std::string& json_text);

}  // namespace norvik::simulator
