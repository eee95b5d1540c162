# The video part of the library `station`, relative to the repository's root.
set(video_shell_sources
    video/frame_post.cpp
    video/korvath_audio.cpp
    video/korvath_block.cpp
    video/korvath_render.cpp
    video/korvath_video.cpp
    video/qmyvideowidget.cpp
    video/qmyvideowidget.h
    video/video_output.cpp
    video/video_surface.cpp)
