# The link part of the library `station`, relative to the repository's root.
set(link_shell_sources
    link/control_form.cpp
    link/korvath_command_fields.cpp
    link/korvath_commands.cpp
    link/korvath_link.cpp
    link/korvath_send.cpp)
