# SPDX-License-Identifier: Apache-2.0

# Run at the installation: writes ${template} as ${output} with the path ${program} in it, in the form of each kind of file.

# A string of a desktop file, and an argument of its Exec, which is one: both take backslashes of their own.
string(REPLACE "\\" "\\\\" program_as_string "${program}")
string(REGEX REPLACE "([\"`$\\\\])" "\\\\\\1" program_as_argument "${program}")
string(REPLACE "\\" "\\\\" program_as_argument "${program_as_argument}")
string(REPLACE "%" "%%" program_as_argument "${program_as_argument}")
# xdg-open of a desktop that is none of the large ones takes quotes for a part of the name.
if(NOT program MATCHES "^[A-Za-z0-9/._+,:@-]+$")
    set(program_as_argument "\"${program_as_argument}\"")
endif()
# A quoted word of a unit: systemd takes no program with a quote or a backslash in its name.
string(REPLACE "%" "%%" program_in_unit "${program}")
configure_file("${template}" "${output}" @ONLY)
