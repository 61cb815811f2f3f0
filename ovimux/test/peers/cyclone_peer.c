/* Sends every sample of "interop/in64k" and "interop/in10m" back on ".../out...", fields untouched, with another
   vendor's DDS. Argument: the domain id. Ends with its standard input. */
#include <poll.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "dds/dds.h"
#include "ovimux_idl.h"

enum { kChannels = 2 };

static const dds_topic_descriptor_t* const kTypes[kChannels] = {&ovimux_idl_data64k_desc, &ovimux_idl_data10m_desc};
static const char* const kInputs[kChannels] = {"interop/in64k", "interop/in10m"};
static const char* const kOutputs[kChannels] = {"interop/out64k", "interop/out10m"};

static bool input_has_ended(void) {
  struct pollfd input = {STDIN_FILENO, POLLIN, 0};
  char byte;
  return poll(&input, 1, 0) > 0 && read(STDIN_FILENO, &byte, 1) <= 0;
}

static void relay(dds_entity_t reader, dds_entity_t writer) {
  void* samples[1] = {NULL};
  dds_sample_info_t info;
  while (dds_take(reader, samples, &info, 1, 1) > 0) {
    if (info.valid_data && dds_write(writer, samples[0]) != DDS_RETCODE_OK) {
      fprintf(stderr, "write failed\n");
    }
    dds_return_loan(reader, samples, 1);
  }
}

int main(int argc, char** argv) {
  const dds_entity_t participant = dds_create_participant(argc > 1 ? (dds_domainid_t)atoi(argv[1]) : 0, NULL, NULL);
  dds_entity_t readers[kChannels];
  dds_entity_t writers[kChannels];
  dds_qos_t* qos = dds_create_qos();
  dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
  dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 8);
  for (int i = 0; i < kChannels; ++i) {
    const dds_entity_t input = dds_create_topic(participant, kTypes[i], kInputs[i], NULL, NULL);
    const dds_entity_t output = dds_create_topic(participant, kTypes[i], kOutputs[i], NULL, NULL);
    readers[i] = dds_create_reader(participant, input, qos, NULL);
    writers[i] = dds_create_writer(participant, output, qos, NULL);
    if (readers[i] < 0 || writers[i] < 0) {
      fprintf(stderr, "no endpoints: %s\n", dds_strretcode(-(readers[i] < 0 ? readers[i] : writers[i])));
      return 1;
    }
  }
  dds_delete_qos(qos);
  while (!input_has_ended()) {
    for (int i = 0; i < kChannels; ++i) {
      relay(readers[i], writers[i]);
    }
    dds_sleepfor(DDS_MSECS(2));
  }
  return dds_delete(participant) == DDS_RETCODE_OK ? 0 : 1;
}
