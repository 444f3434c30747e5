// Patch differencing (-d older=newer): compares the data sets of two installers and writes
// "patch.xml", a configuration from which the packer makes a patch holding only what changed.
#pragma once

// Runs the comparison, printing its progress and findings on the console. "patch.xml" is
// written in the folder of the second data set and keeps whatever was written when a difference
// stops the run. Answers true when the comparison ran to its end.
bool diff_data_sets(const char* argument);
