#include "video/recording_tips.h"

#include "video/my_tip_dialog.h"

void placeTip(const TipChannel& channel) {
    if (channel.tip == nullptr || !channel.open) {
        return;
    }
    channel.tip->setSnapping(channel.snapping);
    channel.tip->setRecording(channel.recording);
    if (channel.snapping || channel.recording) {
        channel.tip->move(channel.picture.mapToGlobal(QPoint(0, 5)));
    }
}
