#include "linux/fabric/qos.h"

namespace ZYNE::Linux {
namespace {

// How many samples a reader keeps until they are taken; then the transport holds back the writers.
constexpr int32_t MOST_SAMPLES = 256;

// How long a write waits for a device that is slow to take what was sent before. One that has frozen is given up by
// then.
constexpr dds_duration_t LONGEST_WRITE = DDS_SECS(4);
// The same of a profile, of which only the last state counts: it can be written again.
constexpr dds_duration_t LONGEST_PROFILE_WRITE = DDS_MSECS(100);

QosHandle ReliableQos(const std::string& partition, dds_duration_t longestWrite = LONGEST_WRITE) {
    QosHandle qos = NewQos();
    dds_qset_reliability(qos.get(), DDS_RELIABILITY_RELIABLE, longestWrite);
    dds_qset_partition1(qos.get(), partition.c_str());
    dds_qset_ignorelocal(qos.get(), DDS_IGNORELOCAL_PARTICIPANT);
    return qos;
}

void KeepAll(dds_qos_t& qos) {
    dds_qset_history(&qos, DDS_HISTORY_KEEP_ALL, 0);
    dds_qset_resource_limits(&qos, MOST_SAMPLES, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED);
}

QosHandle LastingWriterQos(const std::string& partition, dds_duration_t longestWrite) {
    QosHandle qos = ReliableQos(partition, longestWrite);
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, 1);
    dds_qset_writer_data_lifecycle(qos.get(), false);
    return qos;
}

QosHandle LastingReaderQos(const std::string& partition) {
    QosHandle qos = ReliableQos(partition);
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    // A device that writes under another's udid is not believed; it must not push out what the other writes either.
    KeepAll(*qos);
    return qos;
}

}  // namespace

QosHandle PresenceWriterQos(const std::string& partition) {
    return LastingWriterQos(partition, LONGEST_WRITE);
}

QosHandle PresenceReaderQos(const std::string& partition) {
    return LastingReaderQos(partition);
}

QosHandle ControlQos(const std::string& partition) {
    QosHandle qos = ReliableQos(partition);
    KeepAll(*qos);
    return qos;
}

QosHandle ProfileWriterQos(const std::string& partition) {
    return LastingWriterQos(partition, LONGEST_PROFILE_WRITE);
}

QosHandle ProfileReaderQos(const std::string& partition) {
    return LastingReaderQos(partition);
}

}  // namespace ZYNE::Linux
