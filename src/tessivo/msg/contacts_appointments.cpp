// Contact and appointment fields and the refinement of appointment times.
// They are not read yet: the build calls them where their fields belong, and
// they add nothing, so contacts and appointments get the keys every message has.
#include "tessivo/msg/read_msg.h"

namespace tessivo {

Dictionary ReadMSG::buildContactsForMessage(const Dictionary&) { return {}; }

Dictionary ReadMSG::buildAppointmentForMessage(const Dictionary&) { return {}; }

void ReadMSG::enrichCalendarData(Dictionary&) const {}

}  // namespace tessivo
