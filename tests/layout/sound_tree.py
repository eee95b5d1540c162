"""A small tree of the shape of the real one, a file or two a target, that breaks no rule."""

SOUND = {
    "CMakeLists.txt": "foreach(dir base link)\n  add_subdirectory(${dir})\nendforeach()\n",
    "base/CMakeLists.txt": "# ground (of all)\nsorvane_target(base HEADERS bytes.h)\n",
    "base/bytes.h": "#include <cstdint>\n",
    "oskel/CMakeLists.txt": "add_library(oskel_asio INTERFACE)\n"
                            "target_link_libraries(oskel_asio INTERFACE Threads::Threads)\n"
                            "sorvane_target(oskel\n  SOURCES oskel.cpp\n  LINUX system_linux.cpp\n"
                            "  WINDOWS system_windows.cpp\n  PRIVATE_LIBS oskel_asio)\n",
    "oskel/oskel.h": "#include <string>\n",
    "oskel/oskel.cpp": '#include "oskel/oskel.h"\n#include <asio/post.hpp>\n',
    "oskel/system_linux.cpp": "#include <unistd.h>\n",
    "oskel/system_windows.cpp": "#include <windows.h>\n",
    "tavrik/CMakeLists.txt": "sorvane_target(tavrik_core SOURCES nal.cpp)\n"
                             "pkg_check_modules(STREAMS REQUIRED IMPORTED_TARGET libavcodec libavutil)\n"
                             "sorvane_target(tavrik SOURCES tavrik.cpp LIBS tavrik_core PkgConfig::STREAMS)\n",
    "tavrik/nal.cpp": "#include <vector>\n",
    "tavrik/tavrik.h": "#include <functional>\n",
    "tavrik/tavrik.cpp": '#include "tavrik/tavrik.h"\nextern "C" {\n#include <libavcodec/avcodec.h>\n}\n',
    "platform/CMakeLists.txt": "if(WIN32)\n  set(desktop user32)\nelse()\n  set(desktop X11::X11)\nendif()\n"
                               "sorvane_target(platform SOURCES window_move.cpp PRIVATE_LIBS ${desktop})\n",
    "platform/window_move.h": "",
    "platform/window_move.cpp": '#include "platform/window_move.h"\n#include <X11/Xlib.h>\n',
    "app/events/CMakeLists.txt": "sorvane_target(events HEADERS my_event.h LIBS Qt5::Core)\n",
    "app/events/my_event.h": "#include <QEvent>\n",
    "app/config/CMakeLists.txt": "sorvane_target(config SOURCES my_app_config.cpp LIBS Qt5::Core)\n",
    "app/config/my_app_config.h": "#include <QSettings>\n",
    "app/config/my_app_config.cpp": '#include "app/config/my_app_config.h"\n',
    "widgets/CMakeLists.txt": "sorvane_target(widgets SOURCES kit/title_bar.cpp LIBS Qt5::Widgets\n"
                              "  PRIVATE_LIBS platform)\n",
    "widgets/kit/title_bar.h": "#include <QWidget>\n",
    "widgets/kit/title_bar.cpp": '#include "widgets/kit/title_bar.h"\n#include "platform/window_move.h"\n',
    "forms/CMakeLists.txt": "qt5_wrap_ui(made main.ui OPTIONS --no-autoconnection)\n"
                            "sorvane_target(forms HEADERS main_form.h LIBS widgets video_face Qt5::Widgets)\n"
                            "target_include_directories(forms INTERFACE ${CMAKE_CURRENT_BINARY_DIR})\n",
    "forms/main.ui": "<ui>\n <header>widgets/kit/title_bar.h</header>\n"
                     " <header>video/qmyvideowidget.h</header>\n</ui>\n",
    "forms/main_form.h": '#include "ui_main.h"\n',
    "link/CMakeLists.txt": "sorvane_target(link_core SOURCES frames.cpp LIBS base)\n"
                           "if(NOT SORVANE_QT_FREE_ONLY)\n"
                           "  sorvane_target(link\n"
                           "    SOURCES link_panel.cpp\n"
                           "    LIBS link_core Qt5::Core\n"
                           "    PRIVATE_LIBS oskel events config forms Qt5::Widgets)\n"
                           "endif()\n",
    "link/frames.h": "#include <vector>\n",
    "link/frames.cpp": '#include "link/frames.h"\n#include "base/bytes.h"\n',
    "link/link_panel.h": '#include <QObject>\n#include "link/frames.h"\n',
    "link/link_panel.cpp": '#include "link/link_panel.h"\n#include <QLabel>\n#include "oskel/oskel.h"\n'
                           '#include "forms/main_form.h"\n#include "app/events/my_event.h"\n',
    "telemetry/CMakeLists.txt": "sorvane_target(telemetry_core HEADERS record.h LIBS base link_core)\n"
                                "sorvane_target(telemetry SOURCES intake.cpp LIBS telemetry_core events)\n",
    "telemetry/record.h": '#include "link/frames.h"\n',
    "telemetry/intake.h": '#include "telemetry/record.h"\n#include "link/frames.h"\n',
    "telemetry/intake.cpp": '#include "telemetry/intake.h"\n',
    "video/CMakeLists.txt": "sorvane_target(video_core SOURCES geometry.cpp LIBS base)\n"
                            "sorvane_target(video_face SOURCES qmyvideowidget.cpp LIBS video_core Qt5::Widgets)\n"
                            "pkg_check_modules(PICTURE REQUIRED IMPORTED_TARGET sdl2>=2.20 libavutil)\n"
                            "sorvane_target(video SOURCES channel.cpp LIBS video_core video_face tavrik forms\n"
                            "  PRIVATE_LIBS PkgConfig::PICTURE)\n",
    "video/geometry.h": "",
    "video/geometry.cpp": '#include "video/geometry.h"\n',
    "video/qmyvideowidget.h": '#include <QLabel>\n#include "video/geometry.h"\n',
    "video/qmyvideowidget.cpp": '#include "video/qmyvideowidget.h"\n',
    "video/channel.h": "",
    "video/channel.cpp": '#include "video/channel.h"\n#include <SDL.h>\n#include <libavutil/frame.h>\n',
    "app/CMakeLists.txt": "sorvane_target(station SOURCES korvath.cpp LIBS link telemetry video widgets)\n"
                          "add_executable(sorvane main.cpp)\ntarget_link_libraries(sorvane PRIVATE station)\n",
    "app/korvath.h": '#include <QWidget>\n#include "link/link_panel.h"\n',
    "app/korvath.cpp": '#include "app/korvath.h"\n',
    "app/main.cpp": '#include "app/korvath.h"\n',
    "simulator/CMakeLists.txt": "pkg_check_modules(SERVER REQUIRED IMPORTED_TARGET gstreamer-1.0>=1.20)\n",
    "simulator/wire/CMakeLists.txt": "sorvane_target(sim_wire SOURCES wire.cpp)\n",
    "simulator/wire/wire.cpp": "#include <array>\n",
    "simulator/stream/CMakeLists.txt": "sorvane_target(sim_mux SOURCES ts_mux.cpp)\n"
                                       "sorvane_target(sim_stream SOURCES channel.cpp LIBS sim_mux sim_wire\n"
                                       "  PRIVATE_LIBS PkgConfig::SERVER)\n",
    "simulator/stream/ts_mux.cpp": "",
    "simulator/stream/channel.cpp": "#include <sys/socket.h>\n#include <gst/gst.h>\n",
    "tests/link/CMakeLists.txt": "sorvane_test(link_test SOURCES x_test.cpp LIBS station)\n",
    "tests/link/x_test.cpp": '#include "app/korvath.h"\n',
    "build/link/generated.cpp": "",
}
