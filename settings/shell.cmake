set(settings_shell_sources
    settings/player_settings_dlg.cpp
    settings/common_page.cpp
    settings/encoder_page.cpp
    settings/file_page.cpp
    settings/osd_page.cpp)
