set(settings_shell_sources
    settings/player_settings_dlg.cpp
    settings/page_common.cpp
    settings/page_file.cpp
    settings/page_osd.cpp)
