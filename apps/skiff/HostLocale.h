// The locale the plug-in will choose from this host's settings, and a few
// of its texts as the dictionary of that locale gives them.
#pragma once

class HostReport;

void hostLocaleReport(HostReport& report);
