// Plain callbacks of the stream library.
#pragma once

// Each logs its own name and posts a plain event of its number (1006, 1002, 1003) to the event receiver, if
// there is one. Any thread.
void Play_Fail_CallBack();
void Replay_Start_Callback();
void Replay_End_Callback();
