<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="zh_CN">
    <context>
        <name>CompNotifyDlgUi</name>
        <message>
            <source>提示</source>
            <translation>Note</translation>
        </message>
        <message>
            <source>录像文件已经生成。</source>
            <translation>The recording has been written.</translation>
        </message>
        <message>
            <source>打开目录</source>
            <translation>Open folder</translation>
        </message>
        <message>
            <source>打开文件</source>
            <translation>Open file</translation>
        </message>
    </context>
    <context>
        <name>CommonPage</name>
        <message>
            <source>软解码</source>
            <translation>Software</translation>
        </message>
        <message>
            <source>CUDA解码</source>
            <translation>CUDA</translation>
        </message>
        <message>
            <source>QSV解码</source>
            <translation>QSV</translation>
        </message>
        <message>
            <source>中文</source>
            <translation>Chinese</translation>
        </message>
        <message>
            <source>英文</source>
            <translation>English</translation>
        </message>
        <message>
            <source>白天</source>
            <translation>Day</translation>
        </message>
        <message>
            <source>黑夜</source>
            <translation>Night</translation>
        </message>
    </context>
    <context>
        <name>FilePage</name>
        <message>
            <source>请选择录像默认保存路径</source>
            <translation>Directory for recordings</translation>
        </message>
        <message>
            <source>请选择拍照默认保存路径</source>
            <translation>Directory for snapshots</translation>
        </message>
        <message>
            <source>请选择遥测信息默认保存路径</source>
            <translation>Directory for telemetry</translation>
        </message>
    </context>
    <context>
        <name>Korvath</name>
        <message>
            <source>选择录像文件</source>
            <translation>Choose a recording</translation>
        </message>
        <message>
            <source>请先关闭视频流！</source>
            <translation>Close the video stream first!</translation>
        </message>
        <message>
            <source>提示</source>
            <translation>Note</translation>
        </message>
        <message>
            <source>视频1已连接  </source>
            <translation>Video 1 connected  </translation>
        </message>
        <message>
            <source>录像重放中  </source>
            <translation>Replaying  </translation>
        </message>
        <message>
            <source>录像重放暂停  </source>
            <translation>Replay paused  </translation>
        </message>
        <message>
            <source>视频1录制中  </source>
            <translation>Recording video 1  </translation>
        </message>
        <message>
            <source>视频2已连接  </source>
            <translation>Video 2 connected  </translation>
        </message>
        <message>
            <source>视频2录制中</source>
            <translation>Recording video 2</translation>
        </message>
        <message>
            <source>视频未连接</source>
            <translation>No video</translation>
        </message>
        <message>
            <source>控制连接关闭</source>
            <translation>No control link</translation>
        </message>
        <message>
            <source>串口已连接</source>
            <translation>Serial link open</translation>
        </message>
        <message>
            <source>UDP已连接</source>
            <translation>UDP link open</translation>
        </message>
        <message>
            <source>发送失败：没有到设备的路由</source>
            <translation>Cannot send: no route to the device</translation>
        </message>
        <message>
            <source>发送失败：设备端口无人接收</source>
            <translation>Cannot send: nobody listens at the device port</translation>
        </message>
        <message>
            <source>发送停滞：对方不接收数据</source>
            <translation>Sending has stalled: the other end takes no data</translation>
        </message>
        <message>
            <source>线路已断开</source>
            <translation>The line is gone</translation>
        </message>
        <message>
            <source>发送失败</source>
            <translation>Cannot send</translation>
        </message>
        <message>
            <source>白热</source>
            <translation>White hot</translation>
        </message>
        <message>
            <source>黑热</source>
            <translation>Black hot</translation>
        </message>
        <message>
            <source>蓝红黄</source>
            <translation>Blue-red-yellow</translation>
        </message>
        <message>
            <source>紫红黄</source>
            <translation>Purple-red-yellow</translation>
        </message>
        <message>
            <source>蓝绿红</source>
            <translation>Blue-green-red</translation>
        </message>
        <message>
            <source>彩虹1</source>
            <translation>Rainbow 1</translation>
        </message>
        <message>
            <source>彩虹2</source>
            <translation>Rainbow 2</translation>
        </message>
        <message>
            <source>黑-红</source>
            <translation>Black-red</translation>
        </message>
        <message>
            <source>墨绿-红</source>
            <translation>Dark green-red</translation>
        </message>
        <message>
            <source>蓝绿红-粉</source>
            <translation>Blue-green-red-pink</translation>
        </message>
        <message>
            <source>混合色</source>
            <translation>Mixed</translation>
        </message>
        <message>
            <source>红头</source>
            <translation>Red hot</translation>
        </message>
        <message>
            <source>无</source>
            <translation>None</translation>
        </message>
        <message>
            <source>关</source>
            <translation>Off</translation>
        </message>
        <message>
            <source>低</source>
            <translation>Low</translation>
        </message>
        <message>
            <source>中</source>
            <translation>Medium</translation>
        </message>
        <message>
            <source>强</source>
            <translation>Strong</translation>
        </message>
        <message>
            <source>开启所有载荷电源</source>
            <translation>All loads on</translation>
        </message>
        <message>
            <source>开启伺服电源</source>
            <translation>Servo on</translation>
        </message>
        <message>
            <source>开启可见光电源</source>
            <translation>Visible camera on</translation>
        </message>
        <message>
            <source>开启红外电源</source>
            <translation>Infrared on</translation>
        </message>
        <message>
            <source>开启激光电源</source>
            <translation>Laser on</translation>
        </message>
        <message>
            <source>开启跟踪器电源</source>
            <translation>Tracker on</translation>
        </message>
        <message>
            <source>开启制冷机电源</source>
            <translation>Cooler on</translation>
        </message>
        <message>
            <source>关闭所有载荷电源</source>
            <translation>All loads off</translation>
        </message>
        <message>
            <source>关闭伺服电源</source>
            <translation>Servo off</translation>
        </message>
        <message>
            <source>关闭可见光电源</source>
            <translation>Visible camera off</translation>
        </message>
        <message>
            <source>关闭红外电源</source>
            <translation>Infrared off</translation>
        </message>
        <message>
            <source>关闭激光电源</source>
            <translation>Laser off</translation>
        </message>
        <message>
            <source>关闭跟踪器电源</source>
            <translation>Tracker off</translation>
        </message>
        <message>
            <source>关闭制冷机电源</source>
            <translation>Cooler off</translation>
        </message>
        <message>
            <source>红外</source>
            <translation>Infrared</translation>
        </message>
        <message>
            <source>可见光（广角）</source>
            <translation>Visible (wide)</translation>
        </message>
        <message>
            <source>上下分屏</source>
            <translation>Top and bottom</translation>
        </message>
        <message>
            <source>画中画-红外</source>
            <translation>Inset, infrared</translation>
        </message>
        <message>
            <source>画中画-可见光</source>
            <translation>Inset, visible</translation>
        </message>
        <message>
            <source>左右分屏</source>
            <translation>Side by side</translation>
        </message>
        <message>
            <source>可见光（长焦）</source>
            <translation>Visible (tele)</translation>
        </message>
        <message>
            <source>隐藏</source>
            <translation>Hidden</translation>
        </message>
        <message>
            <source>部分显示</source>
            <translation>Partly</translation>
        </message>
        <message>
            <source>全部显示</source>
            <translation>All</translation>
        </message>
        <message>
            <source>指引</source>
            <translation>Guide</translation>
        </message>
        <message>
            <source>跟踪</source>
            <translation>Track</translation>
        </message>
        <message>
            <source>方位扫描</source>
            <translation>Azimuth scan</translation>
        </message>
        <message>
            <source>方位锁定</source>
            <translation>Azimuth locked</translation>
        </message>
        <message>
            <source>俯仰扫描</source>
            <translation>Pitch scan</translation>
        </message>
        <message>
            <source>俯仰锁定</source>
            <translation>Pitch locked</translation>
        </message>
        <message>
            <source>停止录像</source>
            <translation>Stop recording</translation>
        </message>
        <message>
            <source>开始录像</source>
            <translation>Record</translation>
        </message>
        <message>
            <source>归中</source>
            <translation>Centre</translation>
        </message>
        <message>
            <source>自动校准</source>
            <translation>Calibrate</translation>
        </message>
        <message>
            <source>连接</source>
            <translation>Connect</translation>
        </message>
        <message>
            <source>断开</source>
            <translation>Disconnect</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>警告</source>
            <translation>Warning</translation>
        </message>
        <message>
            <source>打开</source>
            <translation>Opening </translation>
        </message>
        <message>
            <source>失败!</source>
            <translation> failed!</translation>
        </message>
        <message>
            <source>请先关闭UDP连接</source>
            <translation>Close the UDP link first</translation>
        </message>
        <message>
            <source>请先关闭串口</source>
            <translation>Close the serial port first</translation>
        </message>
        <message>
            <source>正常</source>
            <translation>OK</translation>
        </message>
        <message>
            <source>异常</source>
            <translation>Fault</translation>
        </message>
        <message>
            <source>开</source>
            <translation>On</translation>
        </message>
        <message>
            <source>可见光</source>
            <translation>Visible</translation>
        </message>
        <message>
            <source>TF已插入</source>
            <translation>TF card in</translation>
        </message>
        <message>
            <source>TF未插入</source>
            <translation>No TF card</translation>
        </message>
        <message>
            <source>正在拍照</source>
            <translation>Taking</translation>
        </message>
        <message>
            <source>未拍照</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>正在抓图</source>
            <translation>Grabbing</translation>
        </message>
        <message>
            <source>未抓图</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>正在连拍</source>
            <translation>Running</translation>
        </message>
        <message>
            <source>未连拍</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>连续抓图</source>
            <translation>Running</translation>
        </message>
        <message>
            <source>未连续抓图</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>正在录像</source>
            <translation>Recording</translation>
        </message>
        <message>
            <source>未录像</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>导入完毕</source>
            <translation>Imported</translation>
        </message>
        <message>
            <source>未成功导入</source>
            <translation>Not imported</translation>
        </message>
        <message>
            <source>已准备好</source>
            <translation>Ready</translation>
        </message>
        <message>
            <source>未准备好</source>
            <translation>Not ready</translation>
        </message>
        <message>
            <source>保存成功</source>
            <translation>Saved</translation>
        </message>
        <message>
            <source>未保存</source>
            <translation>Not saved</translation>
        </message>
        <message>
            <source>已插卡</source>
            <translation>Inserted</translation>
        </message>
        <message>
            <source>未插卡</source>
            <translation>Empty</translation>
        </message>
        <message>
            <source>超温</source>
            <translation>Too hot</translation>
        </message>
        <message>
            <source>未超温</source>
            <translation>Normal</translation>
        </message>
        <message>
            <source>白光</source>
            <translation>Visible</translation>
        </message>
        <message>
            <source>双光</source>
            <translation>Two sensors</translation>
        </message>
        <message>
            <source>三光</source>
            <translation>Three sensors</translation>
        </message>
        <message>
            <source>四光</source>
            <translation>Four sensors</translation>
        </message>
        <message>
            <source>待命</source>
            <translation>Standby</translation>
        </message>
        <message>
            <source>关伺服</source>
            <translation>Servo off</translation>
        </message>
        <message>
            <source>手动</source>
            <translation>Manual</translation>
        </message>
        <message>
            <source>收藏</source>
            <translation>Stow</translation>
        </message>
        <message>
            <source>数引</source>
            <translation>To angle</translation>
        </message>
        <message>
            <source>航向锁定</source>
            <translation>Heading lock</translation>
        </message>
        <message>
            <source>扫描</source>
            <translation>Scan</translation>
        </message>
        <message>
            <source>垂直下视</source>
            <translation>Look down</translation>
        </message>
        <message>
            <source>陀螺自动较漂</source>
            <translation>Auto drift</translation>
        </message>
        <message>
            <source>陀螺温度较漂</source>
            <translation>Temp. drift</translation>
        </message>
        <message>
            <source>航向随动</source>
            <translation>Heading follow</translation>
        </message>
        <message>
            <source>手动陀螺较漂</source>
            <translation>Manual drift</translation>
        </message>
        <message>
            <source>姿态指引</source>
            <translation>To attitude</translation>
        </message>
        <message>
            <source>可见/红外上下分屏</source>
            <translation>VIS above IR</translation>
        </message>
        <message>
            <source>红外显示，可见光小窗口画中画</source>
            <translation>IR, VIS inset</translation>
        </message>
        <message>
            <source>可见光显示，红外小窗口画中画</source>
            <translation>VIS, IR inset</translation>
        </message>
        <message>
            <source>红外/可见光左右分屏</source>
            <translation>IR beside VIS</translation>
        </message>
        <message>
            <source>空闲状态</source>
            <translation>Idle</translation>
        </message>
        <message>
            <source>稳定跟踪</source>
            <translation>Stable</translation>
        </message>
        <message>
            <source>记忆跟踪</source>
            <translation>From memory</translation>
        </message>
        <message>
            <source>目标丢失</source>
            <translation>Lost</translation>
        </message>
        <message>
            <source>截获状态</source>
            <translation>Acquired</translation>
        </message>
        <message>
            <source>非法值</source>
            <translation>Invalid</translation>
        </message>
        <message>
            <source>姿态指示中</source>
            <translation>In progress</translation>
        </message>
        <message>
            <source>姿态指示完成</source>
            <translation>Done</translation>
        </message>
        <message>
            <source>吊舱回报的当前模式</source>
            <translation>The mode that the pod reports</translation>
        </message>
        <message>
            <source>%1 前</source>
            <translation>%1 ago</translation>
        </message>
        <message>
            <source>控制连接未打开</source>
            <translation>The control link is not open</translation>
        </message>
    </context>
    <context>
        <name>KorvathClass</name>
        <message>
            <source>最小化</source>
            <translation>Minimise</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>上一页</source>
            <translation>Previous page</translation>
        </message>
        <message>
            <source>下一页</source>
            <translation>Next page</translation>
        </message>
        <message>
            <source>控制</source>
            <translation>Control</translation>
        </message>
        <message>
            <source>框架</source>
            <translation>Frame</translation>
        </message>
        <message>
            <source>陀螺</source>
            <translation>Gyro</translation>
        </message>
        <message>
            <source>上</source>
            <translation>Up</translation>
        </message>
        <message>
            <source>左</source>
            <translation>Left</translation>
        </message>
        <message>
            <source>归中</source>
            <translation>Centre</translation>
        </message>
        <message>
            <source>右</source>
            <translation>Right</translation>
        </message>
        <message>
            <source>下</source>
            <translation>Down</translation>
        </message>
        <message>
            <source>航向锁定</source>
            <translation>Heading lock</translation>
        </message>
        <message>
            <source>航向随动</source>
            <translation>Heading follow</translation>
        </message>
        <message>
            <source>垂直下视</source>
            <translation>Look down</translation>
        </message>
        <message>
            <source>镜头收藏</source>
            <translation>Stow lens</translation>
        </message>
        <message>
            <source>速度：</source>
            <translation>Speed:</translation>
        </message>
        <message>
            <source>最大速度</source>
            <translation>Highest speed</translation>
        </message>
        <message>
            <source>陀螺速度</source>
            <translation>Gyro speed</translation>
        </message>
        <message>
            <source>方位：</source>
            <translation>Azimuth:</translation>
        </message>
        <message>
            <source>俯仰：</source>
            <translation>Pitch:</translation>
        </message>
        <message>
            <source>数字引导</source>
            <translation>Go to angle</translation>
        </message>
        <message>
            <source>姿态指引</source>
            <translation>To attitude</translation>
        </message>
        <message>
            <source>扫描</source>
            <translation>Scan</translation>
        </message>
        <message>
            <source>关伺服</source>
            <translation>Servo off</translation>
        </message>
        <message>
            <source>检测跟踪</source>
            <translation>Detection, tracking</translation>
        </message>
        <message>
            <source>检测框：</source>
            <translation>Boxes:</translation>
        </message>
        <message>
            <source>自动跟踪：</source>
            <translation>Auto track:</translation>
        </message>
        <message>
            <source>跟踪联动：</source>
            <translation>Track link:</translation>
        </message>
        <message>
            <source>模板大小：</source>
            <translation>Template:</translation>
        </message>
        <message>
            <source>视频</source>
            <translation>Video</translation>
        </message>
        <message>
            <source>视频切换</source>
            <translation>Switch video</translation>
        </message>
        <message>
            <source>双光同视场</source>
            <translation>Same field of view</translation>
        </message>
        <message>
            <source>单次抓图</source>
            <translation>Snapshot</translation>
        </message>
        <message>
            <source>开始录像</source>
            <translation>Record</translation>
        </message>
        <message>
            <source>显示模式：</source>
            <translation>Display:</translation>
        </message>
        <message>
            <source>OSD显示：</source>
            <translation>OSD:</translation>
        </message>
        <message>
            <source>可见光</source>
            <translation>Visible</translation>
        </message>
        <message>
            <source>变倍-</source>
            <translation>Zoom-</translation>
        </message>
        <message>
            <source>变倍+</source>
            <translation>Zoom+</translation>
        </message>
        <message>
            <source>调焦-</source>
            <translation>Focus-</translation>
        </message>
        <message>
            <source>调焦+</source>
            <translation>Focus+</translation>
        </message>
        <message>
            <source>自动对焦</source>
            <translation>Auto focus</translation>
        </message>
        <message>
            <source>对比度-</source>
            <translation>Contrast-</translation>
        </message>
        <message>
            <source>对比度+</source>
            <translation>Contrast+</translation>
        </message>
        <message>
            <source>亮度-</source>
            <translation>Bright-</translation>
        </message>
        <message>
            <source>亮度+</source>
            <translation>Bright+</translation>
        </message>
        <message>
            <source>增益-</source>
            <translation>Gain-</translation>
        </message>
        <message>
            <source>增益+</source>
            <translation>Gain+</translation>
        </message>
        <message>
            <source>自动增益</source>
            <translation>Auto gain</translation>
        </message>
        <message>
            <source>透雾：</source>
            <translation>Defog:</translation>
        </message>
        <message>
            <source>夜间模式：</source>
            <translation>Night:</translation>
        </message>
        <message>
            <source>电子稳像：</source>
            <translation>Stabilise:</translation>
        </message>
        <message>
            <source>恢复默认</source>
            <translation>Defaults</translation>
        </message>
        <message>
            <source>红外</source>
            <translation>Infrared</translation>
        </message>
        <message>
            <source>电子变倍</source>
            <translation>E-zoom</translation>
        </message>
        <message>
            <source>快门补偿</source>
            <translation>Shutter NUC</translation>
        </message>
        <message>
            <source>背景补偿</source>
            <translation>Background NUC</translation>
        </message>
        <message>
            <source>伪彩：</source>
            <translation>Palette:</translation>
        </message>
        <message>
            <source>图像增强：</source>
            <translation>Enhance:</translation>
        </message>
        <message>
            <source>激光</source>
            <translation>Laser</translation>
        </message>
        <message>
            <source>单次测距</source>
            <translation>Range once</translation>
        </message>
        <message>
            <source>连续测距</source>
            <translation>Range on</translation>
        </message>
        <message>
            <source>停止测距</source>
            <translation>Range stop</translation>
        </message>
        <message>
            <source>秒/次</source>
            <translation>s per range</translation>
        </message>
        <message>
            <source>跟踪</source>
            <translation>Track</translation>
        </message>
        <message>
            <source>模板宽：</source>
            <translation>Width:</translation>
        </message>
        <message>
            <source>模板高：</source>
            <translation>Height:</translation>
        </message>
        <message>
            <source>自定义
模板设置</source>
            <translation>Set own
template</translation>
        </message>
        <message>
            <source>编号跟踪：</source>
            <translation>Track ID:</translation>
        </message>
        <message>
            <source>按编号跟踪</source>
            <translation>Track this number</translation>
        </message>
        <message>
            <source>取消编号跟踪</source>
            <translation>Stop tracking by number</translation>
        </message>
        <message>
            <source>切换目标：</source>
            <translation>Target:</translation>
        </message>
        <message>
            <source>上一个目标</source>
            <translation>Previous target</translation>
        </message>
        <message>
            <source>下一个目标</source>
            <translation>Next target</translation>
        </message>
        <message>
            <source>AI检测</source>
            <translation>AI detection</translation>
        </message>
        <message>
            <source>可见</source>
            <translation>Visible</translation>
        </message>
        <message>
            <source>常规检测</source>
            <translation>Normal</translation>
        </message>
        <message>
            <source>兴趣区域</source>
            <translation>Region of interest</translation>
        </message>
        <message>
            <source>分块遍历</source>
            <translation>Tile by tile</translation>
        </message>
        <message>
            <source>检测
方式
设置</source>
            <translation>Set
detection
mode</translation>
        </message>
        <message>
            <source>X：</source>
            <translation>X:</translation>
        </message>
        <message>
            <source>Y：</source>
            <translation>Y:</translation>
        </message>
        <message>
            <source>像素</source>
            <translation>px</translation>
        </message>
        <message>
            <source>兴趣坐标设置</source>
            <translation>Set region</translation>
        </message>
        <message>
            <source>中心：</source>
            <translation>Centre:</translation>
        </message>
        <message>
            <source>范围：</source>
            <translation>Range:</translation>
        </message>
        <message>
            <source>方位扫描设置</source>
            <translation>Set azimuth</translation>
        </message>
        <message>
            <source>俯仰扫描设置</source>
            <translation>Set pitch</translation>
        </message>
        <message>
            <source>角度：</source>
            <translation>Angle:</translation>
        </message>
        <message>
            <source>设置</source>
            <translation>Set</translation>
        </message>
        <message>
            <source>执行扫描</source>
            <translation>Run scan</translation>
        </message>
        <message>
            <source>地理联动</source>
            <translation>Geo guidance</translation>
        </message>
        <message>
            <source>经度：</source>
            <translation>Longitude:</translation>
        </message>
        <message>
            <source>纬度：</source>
            <translation>Latitude:</translation>
        </message>
        <message>
            <source>海拔：</source>
            <translation>Altitude:</translation>
        </message>
        <message>
            <source>地理指引</source>
            <translation>Geo guide</translation>
        </message>
        <message>
            <source>地理跟踪</source>
            <translation>Geo track</translation>
        </message>
        <message>
            <source>位置：</source>
            <translation>Position:</translation>
        </message>
        <message>
            <source>焦距设置</source>
            <translation>Focal length</translation>
        </message>
        <message>
            <source>可见焦距：</source>
            <translation>Visible:</translation>
        </message>
        <message>
            <source>激光照射器</source>
            <translation>Laser illuminator</translation>
        </message>
        <message>
            <source>照射：</source>
            <translation>Light:</translation>
        </message>
        <message>
            <source>照射频率：</source>
            <translation>Frequency:</translation>
        </message>
        <message>
            <source>红外报警</source>
            <translation>Infrared alarm</translation>
        </message>
        <message>
            <source>报警：</source>
            <translation>Alarm:</translation>
        </message>
        <message>
            <source>阈值：</source>
            <translation>Threshold:</translation>
        </message>
        <message>
            <source>系统</source>
            <translation>System</translation>
        </message>
        <message>
            <source>窗口除雾</source>
            <translation>Demist</translation>
        </message>
        <message>
            <source>时间同步</source>
            <translation>Sync time</translation>
        </message>
        <message>
            <source>载荷使能：</source>
            <translation>Power on:</translation>
        </message>
        <message>
            <source>载荷休眠：</source>
            <translation>Power off:</translation>
        </message>
        <message>
            <source>IP地址：</source>
            <translation>IP:</translation>
        </message>
        <message>
            <source>工具栏</source>
            <translation>Tools</translation>
        </message>
        <message>
            <source>信息栏</source>
            <translation>Information</translation>
        </message>
        <message>
            <source>连接</source>
            <translation>Connect</translation>
        </message>
        <message>
            <source>设置</source>
            <comment>the settings dialog</comment>
            <translation>Settings</translation>
        </message>
        <message>
            <source>地图</source>
            <translation>Map</translation>
        </message>
        <message>
            <source>打开录像</source>
            <translation>Open recording</translation>
        </message>
        <message>
            <source>实时数据分析</source>
            <translation>Live plot</translation>
        </message>
        <message>
            <source>设置遥测信息</source>
            <translation>Telemetry input</translation>
        </message>
        <message>
            <source>遥测信息</source>
            <translation>Telemetry</translation>
        </message>
        <message>
            <source>视频窗口1</source>
            <translation>Video 1</translation>
        </message>
        <message>
            <source>视频窗口2</source>
            <translation>Video 2</translation>
        </message>
        <message>
            <source>视频窗口左右分屏</source>
            <translation>Side by side</translation>
        </message>
        <message>
            <source>视频窗口上下分屏</source>
            <translation>Top and bottom</translation>
        </message>
        <message>
            <source>俯仰角：</source>
            <translation>Pitch:</translation>
        </message>
        <message>
            <source>滚转角：</source>
            <translation>Roll:</translation>
        </message>
        <message>
            <source>航向角：</source>
            <translation>Heading:</translation>
        </message>
        <message>
            <source>GPS年：</source>
            <translation>GPS year:</translation>
        </message>
        <message>
            <source>GPS月：</source>
            <translation>GPS month:</translation>
        </message>
        <message>
            <source>GPS日：</source>
            <translation>GPS day:</translation>
        </message>
        <message>
            <source>GPS时：</source>
            <translation>GPS hour:</translation>
        </message>
        <message>
            <source>GPS分：</source>
            <translation>GPS minute:</translation>
        </message>
        <message>
            <source>GPS秒：</source>
            <translation>GPS second:</translation>
        </message>
        <message>
            <source>GPS百分秒：</source>
            <translation>GPS 1/100 s:</translation>
        </message>
        <message>
            <source>GPS经度：</source>
            <translation>GPS longitude:</translation>
        </message>
        <message>
            <source>GPS纬度：</source>
            <translation>GPS latitude:</translation>
        </message>
        <message>
            <source>定位星数：</source>
            <translation>Satellites:</translation>
        </message>
        <message>
            <source>GPS高度：</source>
            <translation>GPS altitude:</translation>
        </message>
        <message>
            <source>地速：</source>
            <translation>Ground speed:</translation>
        </message>
        <message>
            <source>北向速度：</source>
            <translation>North speed:</translation>
        </message>
        <message>
            <source>东向速度：</source>
            <translation>East speed:</translation>
        </message>
        <message>
            <source>跟踪源类型：</source>
            <translation>Track source:</translation>
        </message>
        <message>
            <source>姿态方位角：</source>
            <translation>Attitude yaw:</translation>
        </message>
        <message>
            <source>姿态俯仰角：</source>
            <translation>Attitude pitch:</translation>
        </message>
        <message>
            <source>姿态横滚角：</source>
            <translation>Attitude roll:</translation>
        </message>
        <message>
            <source>中心点宽坐标：</source>
            <translation>Centre x:</translation>
        </message>
        <message>
            <source>中心点高坐标：</source>
            <translation>Centre y:</translation>
        </message>
        <message>
            <source>可见光焦距：</source>
            <translation>VIS focal length:</translation>
        </message>
        <message>
            <source>可见光视场角：</source>
            <translation>VIS field of view:</translation>
        </message>
        <message>
            <source>红外焦距：</source>
            <translation>IR focal length:</translation>
        </message>
        <message>
            <source>红外视场角：</source>
            <translation>IR field of view:</translation>
        </message>
        <message>
            <source>激光测距值：</source>
            <translation>Laser range:</translation>
        </message>
        <message>
            <source>命令反馈：</source>
            <translation>Last command:</translation>
        </message>
        <message>
            <source>红外电子变倍：</source>
            <translation>IR e-zoom:</translation>
        </message>
        <message>
            <source>可见光电子放大：</source>
            <translation>VIS e-zoom:</translation>
        </message>
        <message>
            <source>吊舱框架方位角：</source>
            <translation>Pod frame yaw:</translation>
        </message>
        <message>
            <source>吊舱框架俯仰角：</source>
            <translation>Pod frame pitch:</translation>
        </message>
        <message>
            <source>吊舱框架横滚角：</source>
            <translation>Pod frame roll:</translation>
        </message>
        <message>
            <source>TF剩余百分比：</source>
            <translation>TF card free %:</translation>
        </message>
        <message>
            <source>TF卡总容量：</source>
            <translation>TF card size:</translation>
        </message>
        <message>
            <source>TF插卡状态：</source>
            <translation>TF card:</translation>
        </message>
        <message>
            <source>拍照：</source>
            <translation>Photo:</translation>
        </message>
        <message>
            <source>视频抓图：</source>
            <translation>Video grab:</translation>
        </message>
        <message>
            <source>连拍：</source>
            <translation>Burst:</translation>
        </message>
        <message>
            <source>视频连续抓图：</source>
            <translation>Continuous grab:</translation>
        </message>
        <message>
            <source>录像状态：</source>
            <translation>Recording:</translation>
        </message>
        <message>
            <source>文件命名：</source>
            <translation>File naming:</translation>
        </message>
        <message>
            <source>当前图像反馈：</source>
            <translation>Picture:</translation>
        </message>
        <message>
            <source>载荷类型：</source>
            <translation>Load type:</translation>
        </message>
        <message>
            <source>红外机芯：</source>
            <translation>IR core:</translation>
        </message>
        <message>
            <source>可见光机芯：</source>
            <translation>VIS core:</translation>
        </message>
        <message>
            <source>陀螺仪：</source>
            <translation>Gyro:</translation>
        </message>
        <message>
            <source>角度传感器：</source>
            <translation>Angle sensor:</translation>
        </message>
        <message>
            <source>电机：</source>
            <translation>Motor:</translation>
        </message>
        <message>
            <source>压缩：</source>
            <translation>Compression:</translation>
        </message>
        <message>
            <source>综合控制：</source>
            <translation>Main control:</translation>
        </message>
        <message>
            <source>吊舱准备状态：</source>
            <translation>Pod state:</translation>
        </message>
        <message>
            <source>红外伪彩：</source>
            <translation>IR palette:</translation>
        </message>
        <message>
            <source>红外图像增强：</source>
            <translation>IR enhancement:</translation>
        </message>
        <message>
            <source>当前载荷版本：</source>
            <translation>Load version:</translation>
        </message>
        <message>
            <source>目标定位经度：</source>
            <translation>Target longitude:</translation>
        </message>
        <message>
            <source>目标定位纬度：</source>
            <translation>Target latitude:</translation>
        </message>
        <message>
            <source>目标海拔高度：</source>
            <translation>Target altitude:</translation>
        </message>
        <message>
            <source>姿态指示完成反馈：</source>
            <translation>Guidance:</translation>
        </message>
        <message>
            <source>目标宽：</source>
            <translation>Target width:</translation>
        </message>
        <message>
            <source>目标高：</source>
            <translation>Target height:</translation>
        </message>
        <message>
            <source>目标类型：</source>
            <translation>Target type:</translation>
        </message>
        <message>
            <source>跟踪状态：</source>
            <translation>Track state:</translation>
        </message>
        <message>
            <source>最高温：</source>
            <translation>Highest temp.:</translation>
        </message>
        <message>
            <source>配置保存：</source>
            <translation>Configuration:</translation>
        </message>
        <message>
            <source>伺服状态：</source>
            <translation>Servo state:</translation>
        </message>
        <message>
            <source>超温报警：</source>
            <translation>Overheat alarm:</translation>
        </message>
        <message>
            <source>红点指示：</source>
            <translation>Red dot:</translation>
        </message>
        <message>
            <source>窗口除雾：</source>
            <translation>Demist:</translation>
        </message>
        <message>
            <source>驱动器温度：</source>
            <translation>Driver temp.:</translation>
        </message>
        <message>
            <source>最后回报：</source>
            <translation>Last report:</translation>
        </message>
    </context>
    <context>
        <name>OsdPage</name>
        <message>
            <source>白色</source>
            <translation>White</translation>
        </message>
        <message>
            <source>绿色</source>
            <translation>Green</translation>
        </message>
        <message>
            <source>黄色</source>
            <translation>Yellow</translation>
        </message>
        <message>
            <source>中文</source>
            <translation>Chinese</translation>
        </message>
        <message>
            <source>英文</source>
            <translation>English</translation>
        </message>
    </context>
    <context>
        <name>PlayerSettingsDlg</name>
        <message>
            <source>设备管理</source>
            <translation>Device</translation>
        </message>
        <message>
            <source>编码器设置</source>
            <translation>Encoder</translation>
        </message>
        <message>
            <source>遥控器设置</source>
            <translation>Remote</translation>
        </message>
        <message>
            <source>摇杆设置</source>
            <translation>Joystick</translation>
        </message>
        <message>
            <source>OSD设置</source>
            <translation>OSD</translation>
        </message>
        <message>
            <source>文件保存</source>
            <translation>Files</translation>
        </message>
        <message>
            <source>通用设置</source>
            <translation>General</translation>
        </message>
        <message>
            <source>指令透传</source>
            <translation>Relay</translation>
        </message>
        <message>
            <source>固件升级</source>
            <translation>Firmware</translation>
        </message>
        <message>
            <source>版本信息</source>
            <translation>Version</translation>
        </message>
    </context>
    <context>
        <name>UpgradePage</name>
        <message>
            <source>综控</source>
            <translation>Main control</translation>
        </message>
        <message>
            <source>伺服</source>
            <translation>Servo</translation>
        </message>
        <message>
            <source>等待固件升级</source>
            <translation>Waiting for upgrade</translation>
        </message>
        <message>
            <source>文件名匹配错误</source>
            <translation>File name does not match</translation>
        </message>
        <message>
            <source>文件名匹配正确</source>
            <translation>File name matches</translation>
        </message>
        <message>
            <source>总帧数和总字节数接收错误</source>
            <translation>Totals of frames and bytes received with errors</translation>
        </message>
        <message>
            <source>总帧数和总字节数接收正确</source>
            <translation>Totals of frames and bytes received</translation>
        </message>
        <message>
            <source>当前程序帧传送失败</source>
            <translation>Current frame not transferred</translation>
        </message>
        <message>
            <source>当前程序帧传送成功</source>
            <translation>Current frame transferred</translation>
        </message>
        <message>
            <source>正在擦除flash</source>
            <translation>Erasing flash</translation>
        </message>
        <message>
            <source>正在写flash</source>
            <translation>Writing flash</translation>
        </message>
        <message>
            <source>flash擦写完毕，开始校验</source>
            <translation>Flash written, check begins</translation>
        </message>
        <message>
            <source>校验错误，升级失败，请重新升级</source>
            <translation>Check failed, not upgraded; please repeat</translation>
        </message>
        <message>
            <source>校验正确，升级成功，重启生效</source>
            <translation>Check passed, upgraded; restart to take effect</translation>
        </message>
        <message>
            <source>请按升级流程传输文件，请勿越级处理</source>
            <translation>Keep to the order of the steps, skip none</translation>
        </message>
        <message>
            <source>升级数据内容检验错误，退出升级</source>
            <translation>Upgrade data not valid, upgrade ended</translation>
        </message>
        <message>
            <source>选择综控程序升级文件</source>
            <translation>Choose the firmware file</translation>
        </message>
        <message>
            <source>提示</source>
            <translation>Note</translation>
        </message>
        <message>
            <source>升级成功，重启生效！</source>
            <translation>Upgraded. Restart for it to take effect!</translation>
        </message>
    </context>
    <context>
        <name>connection</name>
        <message>
            <source>连接</source>
            <translation>Connect</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>视频流</source>
            <translation>Video stream</translation>
        </message>
        <message>
            <source>流类型：</source>
            <translation>Type:</translation>
        </message>
        <message>
            <source>视频1</source>
            <translation>Video 1</translation>
        </message>
        <message>
            <source>播放URL：</source>
            <translation>URL:</translation>
        </message>
        <message>
            <source>端口：</source>
            <translation>Port:</translation>
        </message>
        <message>
            <source>视频2</source>
            <translation>Video 2</translation>
        </message>
        <message>
            <source>网络控制</source>
            <translation>Network control</translation>
        </message>
        <message>
            <source>设备IP：</source>
            <translation>Device IP:</translation>
        </message>
        <message>
            <source>设备端口：</source>
            <translation>Device port:</translation>
        </message>
        <message>
            <source>本地IP：</source>
            <translation>Local IP:</translation>
        </message>
        <message>
            <source>本地端口：</source>
            <translation>Local port:</translation>
        </message>
        <message>
            <source>串口控制</source>
            <translation>Serial control</translation>
        </message>
        <message>
            <source>串口号：</source>
            <translation>Port:</translation>
        </message>
        <message>
            <source>刷新</source>
            <translation>Refresh</translation>
        </message>
        <message>
            <source>波特率：</source>
            <translation>Baud rate:</translation>
        </message>
        <message>
            <source>外接惯导</source>
            <translation>External inertial unit</translation>
        </message>
    </context>
    <context>
        <name>dialogSettings</name>
        <message>
            <source>以下开关未从吊舱读取，可能与吊舱不同</source>
            <translation>These switches were not read from the pod, which may differ</translation>
        </message>
        <message>
            <source>设置</source>
            <comment>the settings dialog</comment>
            <translation>Settings</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>设备信息</source>
            <translation>Device</translation>
        </message>
        <message>
            <source>设备型号：</source>
            <translation>Model:</translation>
        </message>
        <message>
            <source>序列号：</source>
            <translation>Serial number:</translation>
        </message>
        <message>
            <source>IP地址：</source>
            <translation>IP:</translation>
        </message>
        <message>
            <source>刷新</source>
            <translation>Refresh</translation>
        </message>
        <message>
            <source>固件版本</source>
            <translation>Firmware versions</translation>
        </message>
        <message>
            <source>跟踪器：</source>
            <translation>Tracker:</translation>
        </message>
        <message>
            <source>图像FPGA：</source>
            <translation>Image FPGA:</translation>
        </message>
        <message>
            <source>通讯控制：</source>
            <translation>Communication:</translation>
        </message>
        <message>
            <source>伺服控制：</source>
            <translation>Servo:</translation>
        </message>
        <message>
            <source>电机驱动：</source>
            <translation>Motor driver:</translation>
        </message>
        <message>
            <source>SBUS通道设置</source>
            <translation>SBUS channels</translation>
        </message>
        <message>
            <source>跟踪方位修正</source>
            <translation>Track correction, azimuth</translation>
        </message>
        <message>
            <source>摇杆</source>
            <translation>Stick</translation>
        </message>
        <message>
            <source>反向</source>
            <translation>Reverse</translation>
        </message>
        <message>
            <source>跟踪俯仰修正</source>
            <translation>Track correction, pitch</translation>
        </message>
        <message>
            <source>吊舱方位转动</source>
            <translation>Pod azimuth</translation>
        </message>
        <message>
            <source>吊舱俯仰转动</source>
            <translation>Pod pitch</translation>
        </message>
        <message>
            <source>红外调色板/激光测距</source>
            <translation>Infrared palette / laser range</translation>
        </message>
        <message>
            <source>三段开关</source>
            <translation>3-way</translation>
        </message>
        <message>
            <source>视频循环切换</source>
            <translation>Cycle video</translation>
        </message>
        <message>
            <source>二段开关</source>
            <translation>2-way</translation>
        </message>
        <message>
            <source>拍照/录像</source>
            <translation>Photo / record</translation>
        </message>
        <message>
            <source>跟踪</source>
            <translation>Track</translation>
        </message>
        <message>
            <source>红外变倍/可见光变倍</source>
            <translation>Infrared zoom / visible zoom</translation>
        </message>
        <message>
            <source>吊舱工作模式</source>
            <translation>Pod mode</translation>
        </message>
        <message>
            <source>设置</source>
            <translation>Set</translation>
        </message>
        <message>
            <source>保存</source>
            <translation>Save</translation>
        </message>
        <message>
            <source>恢复出厂设置</source>
            <translation>Factory reset</translation>
        </message>
        <message>
            <source>启用摇杆</source>
            <translation>Use joystick</translation>
        </message>
        <message>
            <source>方位取反</source>
            <translation>Reverse azimuth</translation>
        </message>
        <message>
            <source>俯仰取反</source>
            <translation>Reverse pitch</translation>
        </message>
        <message>
            <source>灵敏度：</source>
            <translation>Sensitivity:</translation>
        </message>
        <message>
            <source>轴</source>
            <translation>Axes</translation>
        </message>
        <message>
            <source>按键</source>
            <translation>Buttons</translation>
        </message>
        <message>
            <source>按键 1</source>
            <translation>Button 1</translation>
        </message>
        <message>
            <source>按键 2</source>
            <translation>Button 2</translation>
        </message>
        <message>
            <source>按键 3</source>
            <translation>Button 3</translation>
        </message>
        <message>
            <source>按键 4</source>
            <translation>Button 4</translation>
        </message>
        <message>
            <source>按键 5</source>
            <translation>Button 5</translation>
        </message>
        <message>
            <source>按键 6</source>
            <translation>Button 6</translation>
        </message>
        <message>
            <source>按键 7</source>
            <translation>Button 7</translation>
        </message>
        <message>
            <source>按键 8</source>
            <translation>Button 8</translation>
        </message>
        <message>
            <source>按键 9</source>
            <translation>Button 9</translation>
        </message>
        <message>
            <source>按键 10</source>
            <translation>Button 10</translation>
        </message>
        <message>
            <source>按键 11</source>
            <translation>Button 11</translation>
        </message>
        <message>
            <source>按键 12</source>
            <translation>Button 12</translation>
        </message>
        <message>
            <source>按键 13</source>
            <translation>Button 13</translation>
        </message>
        <message>
            <source>按键 14</source>
            <translation>Button 14</translation>
        </message>
        <message>
            <source>按键 15</source>
            <translation>Button 15</translation>
        </message>
        <message>
            <source>按键 16</source>
            <translation>Button 16</translation>
        </message>
        <message>
            <source>按键 17</source>
            <translation>Button 17</translation>
        </message>
        <message>
            <source>按键 18</source>
            <translation>Button 18</translation>
        </message>
        <message>
            <source>按键 19</source>
            <translation>Button 19</translation>
        </message>
        <message>
            <source>按键 20</source>
            <translation>Button 20</translation>
        </message>
        <message>
            <source>按键 21</source>
            <translation>Button 21</translation>
        </message>
        <message>
            <source>按键 22</source>
            <translation>Button 22</translation>
        </message>
        <message>
            <source>按键 23</source>
            <translation>Button 23</translation>
        </message>
        <message>
            <source>按键 24</source>
            <translation>Button 24</translation>
        </message>
        <message>
            <source>按键 25</source>
            <translation>Button 25</translation>
        </message>
        <message>
            <source>按键 26</source>
            <translation>Button 26</translation>
        </message>
        <message>
            <source>OSD内容</source>
            <translation>OSD items</translation>
        </message>
        <message>
            <source>全屏OSD</source>
            <translation>Whole OSD</translation>
        </message>
        <message>
            <source>中心十字丝</source>
            <translation>Cross hairs</translation>
        </message>
        <message>
            <source>姿态角</source>
            <translation>Attitude</translation>
        </message>
        <message>
            <source>脱靶量</source>
            <translation>Target offset</translation>
        </message>
        <message>
            <source>方位俯仰角</source>
            <translation>Azimuth, pitch</translation>
        </message>
        <message>
            <source>时间</source>
            <translation>Time</translation>
        </message>
        <message>
            <source>视场角</source>
            <translation>Field of view</translation>
        </message>
        <message>
            <source>可见光</source>
            <translation>Visible</translation>
        </message>
        <message>
            <source>红外</source>
            <translation>Infrared</translation>
        </message>
        <message>
            <source>激光测距</source>
            <translation>Laser range</translation>
        </message>
        <message>
            <source>TF卡</source>
            <translation>TF card</translation>
        </message>
        <message>
            <source>目标GPS</source>
            <translation>Target GPS</translation>
        </message>
        <message>
            <source>指北箭头</source>
            <translation>North arrow</translation>
        </message>
        <message>
            <source>热点追踪</source>
            <translation>Hot spot</translation>
        </message>
        <message>
            <source>激光照射</source>
            <translation>Illuminator</translation>
        </message>
        <message>
            <source>红外测温信息</source>
            <translation>IR temperature</translation>
        </message>
        <message>
            <source>标尺</source>
            <translation>Scale</translation>
        </message>
        <message>
            <source>滚转角</source>
            <translation>Roll</translation>
        </message>
        <message>
            <source>载荷信息</source>
            <translation>Load</translation>
        </message>
        <message>
            <source>地理坐标</source>
            <translation>Geographic</translation>
        </message>
        <message>
            <source>MGRS坐标</source>
            <translation>MGRS</translation>
        </message>
        <message>
            <source>GPS以小数显示</source>
            <translation>GPS in decimals</translation>
        </message>
        <message>
            <source>GPS度分秒显示</source>
            <translation>GPS in deg, min, s</translation>
        </message>
        <message>
            <source>OSD样式</source>
            <translation>OSD style</translation>
        </message>
        <message>
            <source>颜色：</source>
            <translation>Colour:</translation>
        </message>
        <message>
            <source>语言：</source>
            <translation>Language:</translation>
        </message>
        <message>
            <source>保存目录</source>
            <translation>Directories</translation>
        </message>
        <message>
            <source>本地录像：</source>
            <translation>Recordings:</translation>
        </message>
        <message>
            <source>更改目录</source>
            <translation>Change</translation>
        </message>
        <message>
            <source>打开文件夹</source>
            <translation>Show</translation>
        </message>
        <message>
            <source>本地拍照：</source>
            <translation>Snapshots:</translation>
        </message>
        <message>
            <source>遥测数据：</source>
            <translation>Telemetry:</translation>
        </message>
        <message>
            <source>保存间隔</source>
            <translation>Intervals</translation>
        </message>
        <message>
            <source>录像保存间隔：</source>
            <translation>Recordings:</translation>
        </message>
        <message>
            <source>分钟</source>
            <translation>min</translation>
        </message>
        <message>
            <source>遥测保存间隔：</source>
            <translation>Telemetry:</translation>
        </message>
        <message>
            <source>遥测保存</source>
            <translation>Telemetry log</translation>
        </message>
        <message>
            <source>遥测保存选项：</source>
            <translation>Content:</translation>
        </message>
        <message>
            <source>原始数据</source>
            <translation>Raw data</translation>
        </message>
        <message>
            <source>框架角</source>
            <translation>Frame angles</translation>
        </message>
        <message>
            <source>跟踪偏差</source>
            <translation>Track offset</translation>
        </message>
        <message>
            <source>语言和主题</source>
            <translation>Language and theme</translation>
        </message>
        <message>
            <source>主题：</source>
            <translation>Theme:</translation>
        </message>
        <message>
            <source>视频</source>
            <translation>Video</translation>
        </message>
        <message>
            <source>默认播放窗口：</source>
            <translation>Video window:</translation>
        </message>
        <message>
            <source>窗口1</source>
            <translation>Window 1</translation>
        </message>
        <message>
            <source>窗口2</source>
            <translation>Window 2</translation>
        </message>
        <message>
            <source>左右分屏</source>
            <translation>Side by side</translation>
        </message>
        <message>
            <source>上下分屏</source>
            <translation>Top and bottom</translation>
        </message>
        <message>
            <source>解码方式：</source>
            <translation>Decoder:</translation>
        </message>
        <message>
            <source>启动自动播放视频</source>
            <translation>Play video at start</translation>
        </message>
        <message>
            <source>显示帧频率和码率</source>
            <translation>Show frame and bit rate</translation>
        </message>
        <message>
            <source>控制</source>
            <translation>Control</translation>
        </message>
        <message>
            <source>协议类型：</source>
            <translation>Protocol:</translation>
        </message>
        <message>
            <source>周期</source>
            <translation>Periodic</translation>
        </message>
        <message>
            <source>单次</source>
            <translation>Single</translation>
        </message>
        <message>
            <source>周期发送遥测数据</source>
            <translation>Send telemetry periodically</translation>
        </message>
        <message>
            <source>伺服框架：</source>
            <translation>Servo frame:</translation>
        </message>
        <message>
            <source>三轴</source>
            <translation>3 axes</translation>
        </message>
        <message>
            <source>两轴</source>
            <translation>2 axes</translation>
        </message>
        <message>
            <source>编码器</source>
            <translation>Encoding</translation>
        </message>
        <message>
            <source>编码：</source>
            <translation>Codec:</translation>
        </message>
        <message>
            <source>码率：</source>
            <translation>Bit rate:</translation>
        </message>
        <message>
            <source>bps(1000~8000)</source>
            <translation>bps(1000~8000)</translation>
        </message>
        <message>
            <source>存储</source>
            <translation>Storage</translation>
        </message>
        <message>
            <source>存储文件夹命名：</source>
            <translation>Folder name:</translation>
        </message>
        <message>
            <source>以设置</source>
            <translation>As set</translation>
        </message>
        <message>
            <source>以时间</source>
            <translation>By time</translation>
        </message>
        <message>
            <source>自定义字符串：</source>
            <translation>Own text:</translation>
        </message>
        <message>
            <source>自定义文本</source>
            <translation>Own text on the picture</translation>
        </message>
        <message>
            <source>x坐标</source>
            <translation>x</translation>
        </message>
        <message>
            <source>y坐标</source>
            <translation>y</translation>
        </message>
        <message>
            <source>内容</source>
            <translation>Text</translation>
        </message>
        <message>
            <source>显示</source>
            <translation>Show</translation>
        </message>
        <message>
            <source>扩展</source>
            <translation>More</translation>
        </message>
        <message>
            <source>重启</source>
            <translation>Restart</translation>
        </message>
        <message>
            <source>透传接收</source>
            <translation>Received</translation>
        </message>
        <message>
            <source>接收清屏</source>
            <translation>Clear</translation>
        </message>
        <message>
            <source>透传发送</source>
            <translation>Send</translation>
        </message>
        <message>
            <source>载荷：</source>
            <translation>Load:</translation>
        </message>
        <message>
            <source>载荷编号：</source>
            <translation>Load number:</translation>
        </message>
        <message>
            <source>最近发送：</source>
            <translation>Recent:</translation>
        </message>
        <message>
            <source>发送</source>
            <translation>Send</translation>
        </message>
        <message>
            <source>固件升级</source>
            <translation>Firmware</translation>
        </message>
        <message>
            <source>升级模块：</source>
            <translation>Module:</translation>
        </message>
        <message>
            <source>进入固件升级
模式</source>
            <translation>Enter upgrade
mode</translation>
        </message>
        <message>
            <source>烧写程序：</source>
            <translation>File:</translation>
        </message>
        <message>
            <source>选择</source>
            <translation>Choose</translation>
        </message>
        <message>
            <source>进度：</source>
            <translation>Progress:</translation>
        </message>
        <message>
            <source>当前帧号/总帧号</source>
            <translation>Frame / frames</translation>
        </message>
        <message>
            <source>开始</source>
            <translation>Start</translation>
        </message>
        <message>
            <source>状态：</source>
            <translation>State:</translation>
        </message>
        <message>
            <source>等待固件升级</source>
            <translation>Waiting for upgrade</translation>
        </message>
        <message>
            <source>状态信息：</source>
            <translation>Messages:</translation>
        </message>
        <message>
            <source>1.选择升级模块;
2.点击右侧按钮2次;
3.选择升级文件;
4.开始升级;</source>
            <translation>1. Choose the module;
2. Press the button at the right twice;
3. Choose the file;
4. Start;</translation>
        </message>
        <message>
            <source>清屏</source>
            <translation>Clear</translation>
        </message>
        <message>
            <source>光电吊舱综合显控软件</source>
            <translation>Electro-optical pod station</translation>
        </message>
        <message>
            <source>版本 0.1.0</source>
            <translation>Version 0.1.0</translation>
        </message>
        <message>
            <source>启用摇杆并接上设备后，下面列出它的轴和按键。</source>
            <translation>Once the joystick is in use and plugged in, its axes and buttons are listed here.</translation>
        </message>
    </context>
    <context>
        <name>sei_info</name>
        <message>
            <source>遥测信息</source>
            <translation>Telemetry</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>无人机编号：</source>
            <translation>UAV number:</translation>
        </message>
        <message>
            <source>飞机剩余电量（%）：</source>
            <translation>Battery left (%):</translation>
        </message>
        <message>
            <source>剩余续航时间（分）：</source>
            <translation>Endurance left (min):</translation>
        </message>
        <message>
            <source>已飞行时间（分）：</source>
            <translation>Time flown (min):</translation>
        </message>
        <message>
            <source>载机航向角（°）：</source>
            <translation>Aircraft heading (°):</translation>
        </message>
        <message>
            <source>载机俯仰角（°）：</source>
            <translation>Aircraft pitch (°):</translation>
        </message>
        <message>
            <source>载机滚转角（°）：</source>
            <translation>Aircraft roll (°):</translation>
        </message>
        <message>
            <source>吊舱方位角（°）：</source>
            <translation>Pod azimuth (°):</translation>
        </message>
        <message>
            <source>吊舱俯仰角（°）：</source>
            <translation>Pod pitch (°):</translation>
        </message>
        <message>
            <source>吊舱滚转角（°）：</source>
            <translation>Pod roll (°):</translation>
        </message>
        <message>
            <source>目标距离（米）：</source>
            <translation>Target distance (m):</translation>
        </message>
        <message>
            <source>可见光视场角（°）：</source>
            <translation>VIS field of view (°):</translation>
        </message>
        <message>
            <source>红外视场角（°）：</source>
            <translation>IR field of view (°):</translation>
        </message>
        <message>
            <source>图像跟踪模式：</source>
            <translation>Track mode:</translation>
        </message>
        <message>
            <source>超温报警设置值（℃）：</source>
            <translation>Over-temp. limit (℃):</translation>
        </message>
        <message>
            <source>超温报警标志：</source>
            <translation>Over-temp. alarm:</translation>
        </message>
        <message>
            <source>日期：</source>
            <translation>Date:</translation>
        </message>
        <message>
            <source>时间：</source>
            <translation>Time:</translation>
        </message>
        <message>
            <source>载机经度（°）：</source>
            <translation>Aircraft longitude (°):</translation>
        </message>
        <message>
            <source>载机纬度（°）：</source>
            <translation>Aircraft latitude (°):</translation>
        </message>
        <message>
            <source>载机海拔高度（米）：</source>
            <translation>Aircraft altitude (m):</translation>
        </message>
        <message>
            <source>载机对地高度（米）：</source>
            <translation>Height over ground (m):</translation>
        </message>
        <message>
            <source>载机水平速度（m/s）：</source>
            <translation>Horizontal speed (m/s):</translation>
        </message>
        <message>
            <source>载机垂直速度（m/s）：</source>
            <translation>Vertical speed (m/s):</translation>
        </message>
        <message>
            <source>图像中心经度（°）：</source>
            <translation>Centre longitude (°):</translation>
        </message>
        <message>
            <source>图像中心纬度（°）：</source>
            <translation>Centre latitude (°):</translation>
        </message>
        <message>
            <source>图像中心海拔高度（米）：</source>
            <translation>Centre altitude (m):</translation>
        </message>
        <message>
            <source>跟踪框左上角X坐标：</source>
            <translation>Track box left:</translation>
        </message>
        <message>
            <source>跟踪框左上角Y坐标：</source>
            <translation>Track box top:</translation>
        </message>
        <message>
            <source>跟踪框宽度：</source>
            <translation>Track box width:</translation>
        </message>
        <message>
            <source>跟踪框高度：</source>
            <translation>Track box height:</translation>
        </message>
        <message>
            <source>当前图像中心测温值（℃）：</source>
            <translation>Centre temperature (℃):</translation>
        </message>
        <message>
            <source>录制视频流</source>
            <translation>Record stream</translation>
        </message>
        <message>
            <source>停止录制</source>
            <translation>Stop recording</translation>
        </message>
    </context>
    <context>
        <name>telemetry_info</name>
        <message>
            <source>设置遥测信息</source>
            <translation>Telemetry input</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>俯仰角：</source>
            <translation>Pitch:</translation>
        </message>
        <message>
            <source>滚转角：</source>
            <translation>Roll:</translation>
        </message>
        <message>
            <source>航向角：</source>
            <translation>Heading:</translation>
        </message>
        <message>
            <source>经度：</source>
            <translation>Longitude:</translation>
        </message>
        <message>
            <source>纬度：</source>
            <translation>Latitude:</translation>
        </message>
        <message>
            <source>高度：</source>
            <translation>Altitude:</translation>
        </message>
        <message>
            <source>地速：</source>
            <translation>Ground speed:</translation>
        </message>
        <message>
            <source>北向速度：</source>
            <translation>North speed:</translation>
        </message>
        <message>
            <source>东向速度：</source>
            <translation>East speed:</translation>
        </message>
        <message>
            <source>定位星数：</source>
            <translation>Satellites:</translation>
        </message>
        <message>
            <source>设置</source>
            <translation>Set</translation>
        </message>
    </context>
    <context>
        <name>PulseBoard</name>
        <message>
            <source>视频1</source>
            <translation>Video 1</translation>
        </message>
        <message>
            <source>视频2</source>
            <translation>Video 2</translation>
        </message>
        <message>
            <source>回报</source>
            <translation>Report</translation>
        </message>
        <message>
            <source>发送</source>
            <translation>Sending</translation>
        </message>
        <message>
            <source>惯导</source>
            <translation>INS</translation>
        </message>
        <message>
            <source>视频1：最后一帧画面的时间</source>
            <translation>Video 1: age of the last picture</translation>
        </message>
        <message>
            <source>视频2：最后一帧画面的时间</source>
            <translation>Video 2: age of the last picture</translation>
        </message>
        <message>
            <source>吊舱回报：最后一次回报的时间</source>
            <translation>Report of the pod: age of the last one</translation>
        </message>
        <message>
            <source>控制发送：最后一次发出的时间</source>
            <translation>Sending to the pod: age of the last frame sent</translation>
        </message>
        <message>
            <source>外接惯导：最后一帧数据的时间</source>
            <translation>External inertial unit: age of its last frame</translation>
        </message>
        <message>
            <source>频率：按需发送</source>
            <translation>Rate: sent on demand</translation>
        </message>
        <message>
            <source>频率：每秒 %1</source>
            <translation>Rate: %1 a second</translation>
        </message>
        <message>
            <source>中断：无</source>
            <translation>Pauses: none</translation>
        </message>
        <message>
            <source>中断：%1 次，约缺 %2，最长 %3 s</source>
            <translation>Pauses: %1, about %2 missing, longest %3 s</translation>
        </message>
        <message>
            <source>未被系统接收：%1</source>
            <translation>Not taken by the system: %1</translation>
        </message>
        <message>
            <source>最近错误：无</source>
            <translation>Last error: none</translation>
        </message>
        <message>
            <source>中断 %1 s</source>
            <translation>a pause of %1 s</translation>
        </message>
        <message>
            <source>最近错误：%1 %2</source>
            <translation>Last error: %1 %2</translation>
        </message>
        <message>
            <source>系统未接收待发数据</source>
            <translation>the system did not take what was to be sent</translation>
        </message>
        <message>
            <source>点击打开其连接设置</source>
            <translation>A click opens its connection settings</translation>
        </message>
    </context>
    <context>
        <name>TitleStrip</name>
        <message>
            <source>还原</source>
            <translation>Restore</translation>
        </message>
        <message>
            <source>最大化</source>
            <translation>Maximise</translation>
        </message>
        <message>
            <source>更多</source>
            <translation>More</translation>
        </message>
        <message>
            <source>视图</source>
            <translation>View</translation>
        </message>
    </context>
    <context>
        <name>FloatingPanes</name>
        <message>
            <source>状态页</source>
            <translation>Status pages</translation>
        </message>
        <message>
            <source>控制页</source>
            <translation>Control pages</translation>
        </message>
    </context>
    <context>
        <name>EncoderWeb</name>
        <message>
            <source>正在等待编码器的网页：%1</source>
            <translation>Waiting for the encoder&apos;s page: %1</translation>
        </message>
        <message>
            <source>编码器没有回应：%1</source>
            <translation>The encoder does not answer: %1</translation>
        </message>
        <message>
            <source>编码器的网页地址无效：%1</source>
            <translation>The address of the encoder&apos;s page is not valid: %1</translation>
        </message>
        <message>
            <source>重试</source>
            <translation>Try again</translation>
        </message>
        <message>
            <source>这里不能显示网页，请用浏览器打开编码器的网页：%1</source>
            <translation>No web page can be shown here; open the encoder&apos;s page in a browser: %1</translation>
        </message>
    </context>
    <context>
        <name>RelayPage</name>
        <message>
            <source>红外机芯</source>
            <translation>Infrared core</translation>
        </message>
        <message>
            <source>可见光机芯</source>
            <translation>Visible core</translation>
        </message>
        <message>
            <source>激光测距机</source>
            <translation>Laser rangefinder</translation>
        </message>
        <message>
            <source>激光补光灯</source>
            <translation>Laser light</translation>
        </message>
        <message>
            <source>可见光补光灯</source>
            <translation>Visible light</translation>
        </message>
        <message>
            <source>跟踪板</source>
            <translation>Tracker board</translation>
        </message>
        <message>
            <source>伺服</source>
            <translation>Servo</translation>
        </message>
        <message>
            <source>红外镜头</source>
            <translation>Infrared lens</translation>
        </message>
        <message>
            <source>可见光镜头</source>
            <translation>Visible lens</translation>
        </message>
        <message>
            <source>红外振镜</source>
            <translation>Infrared galvo</translation>
        </message>
        <message>
            <source>可见光振镜</source>
            <translation>Visible galvo</translation>
        </message>
        <message>
            <source>激光照射器</source>
            <translation>Laser illuminator</translation>
        </message>
        <message>
            <source>激光告警器</source>
            <translation>Laser warner</translation>
        </message>
        <message>
            <source>火控板</source>
            <translation>Fire control board</translation>
        </message>
        <message>
            <source>模块：%1，载荷编号：%2</source>
            <translation>Module: %1, load number: %2</translation>
        </message>
    </context>
    <context>
        <name>QMyPlotDlg</name>
        <message>
            <source>框架方位角</source>
            <translation>Frame azimuth</translation>
        </message>
        <message>
            <source>框架俯仰角</source>
            <translation>Frame pitch</translation>
        </message>
        <message>
            <source>框架横滚角</source>
            <translation>Frame roll</translation>
        </message>
        <message>
            <source>姿态方位角</source>
            <translation>Attitude azimuth</translation>
        </message>
        <message>
            <source>姿态俯仰角</source>
            <translation>Attitude pitch</translation>
        </message>
        <message>
            <source>姿态横滚角</source>
            <translation>Attitude roll</translation>
        </message>
        <message>
            <source>跟踪宽偏差</source>
            <translation>Horizontal offset</translation>
        </message>
        <message>
            <source>跟踪高偏差</source>
            <translation>Vertical offset</translation>
        </message>
        <message>
            <source>慢</source>
            <translation>Slow</translation>
        </message>
        <message>
            <source>中</source>
            <translation>Medium</translation>
        </message>
        <message>
            <source>快</source>
            <translation>Fast</translation>
        </message>
        <message>
            <source>时间</source>
            <translation>Time</translation>
        </message>
        <message>
            <source>框架角(deg)</source>
            <translation>Frame angle (deg)</translation>
        </message>
        <message>
            <source>姿态角(deg)</source>
            <translation>Attitude angle (deg)</translation>
        </message>
        <message>
            <source>跟踪偏差（像素）</source>
            <translation>Track offset (pixels)</translation>
        </message>
        <message>
            <source>停止</source>
            <translation>Stop</translation>
        </message>
        <message>
            <source>开始</source>
            <translation>Start</translation>
        </message>
        <message>
            <source>隐藏数值</source>
            <translation>Hide values</translation>
        </message>
        <message>
            <source>显示数值</source>
            <translation>Show values</translation>
        </message>
        <message>
            <source>请先打开控制口</source>
            <translation>Open the control link first</translation>
        </message>
        <message>
            <source>警告</source>
            <translation>Warning</translation>
        </message>
    </context>
    <context>
        <name>dlgPlot</name>
        <message>
            <source>跟踪转台实时数据分析</source>
            <translation>Live plot of the turret's tracking data</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
        <message>
            <source>框架角</source>
            <translation>Frame angles</translation>
        </message>
        <message>
            <source>姿态角</source>
            <translation>Attitude angles</translation>
        </message>
        <message>
            <source>跟踪偏差</source>
            <translation>Track offset</translation>
        </message>
        <message>
            <source>方位角</source>
            <translation>Azimuth</translation>
        </message>
        <message>
            <source>俯仰角</source>
            <translation>Pitch</translation>
        </message>
        <message>
            <source>横滚角</source>
            <translation>Roll</translation>
        </message>
        <message>
            <source>宽方向</source>
            <translation>Horizontal</translation>
        </message>
        <message>
            <source>高方向</source>
            <translation>Vertical</translation>
        </message>
        <message>
            <source>刷新频率：</source>
            <translation>Refresh:</translation>
        </message>
        <message>
            <source>显示数值</source>
            <translation>Show values</translation>
        </message>
        <message>
            <source>开始</source>
            <translation>Start</translation>
        </message>
        <message>
            <source>保存遥测数据</source>
            <translation>Save telemetry</translation>
        </message>
    </context>
    <context>
        <name>RemotePage</name>
        <message>
            <source>方位向左</source>
            <translation>Az. left</translation>
        </message>
        <message>
            <source>方位向右</source>
            <translation>Az. right</translation>
        </message>
        <message>
            <source>俯仰向下</source>
            <translation>Pitch down</translation>
        </message>
        <message>
            <source>俯仰向上</source>
            <translation>Pitch up</translation>
        </message>
        <message>
            <source>激光测距</source>
            <translation>Laser range</translation>
        </message>
        <message>
            <source>红外调色板</source>
            <translation>IR palette</translation>
        </message>
        <message>
            <source>循环切换</source>
            <translation>Cycle</translation>
        </message>
        <message>
            <source>录像</source>
            <translation>Record</translation>
        </message>
        <message>
            <source>拍照</source>
            <translation>Snapshot</translation>
        </message>
        <message>
            <source>跟踪</source>
            <translation>Track</translation>
        </message>
        <message>
            <source>变倍-</source>
            <translation>Zoom-</translation>
        </message>
        <message>
            <source>变倍+</source>
            <translation>Zoom+</translation>
        </message>
        <message>
            <source>SBUS channel</source>
            <translation>SBUS channel </translation>
        </message>
        <message>
            <source>请先连接串口！</source>
            <translation>Open the control link first!</translation>
        </message>
        <message>
            <source>警告</source>
            <translation>Warning</translation>
        </message>
    </context>
    <context>
        <name>StickPage</name>
        <message>
            <source>未指定</source>
            <translation>Unassigned</translation>
        </message>
        <message>
            <source>归中</source>
            <translation>Centre</translation>
        </message>
        <message>
            <source>收藏</source>
            <translation>Stow</translation>
        </message>
        <message>
            <source>拍照</source>
            <translation>Snapshot</translation>
        </message>
        <message>
            <source>录像</source>
            <translation>Record</translation>
        </message>
        <message>
            <source>视频切换</source>
            <translation>Video switch</translation>
        </message>
        <message>
            <source>垂直下视</source>
            <translation>Look down</translation>
        </message>
        <message>
            <source>跟踪</source>
            <translation>Track</translation>
        </message>
        <message>
            <source>激光测距</source>
            <translation>Laser range</translation>
        </message>
        <message>
            <source>变倍+</source>
            <translation>Zoom+</translation>
        </message>
        <message>
            <source>变倍-</source>
            <translation>Zoom-</translation>
        </message>
        <message>
            <source>OSD</source>
            <translation>OSD</translation>
        </message>
        <message>
            <source>方位角</source>
            <translation>Azimuth</translation>
        </message>
        <message>
            <source>俯仰角</source>
            <translation>Pitch</translation>
        </message>
        <message>
            <source>按键 %1</source>
            <translation>Button %1</translation>
        </message>
    </context>
    <context>
        <name>MapHosts</name>
        <message>
            <source>下方地图</source>
            <translation>Map below</translation>
        </message>
    </context>
    <context>
        <name>MyLocateDialogUi</name>
        <message>
            <source>定位</source>
            <translation>Locate</translation>
        </message>
        <message>
            <source>经度：</source>
            <translation>Lon:</translation>
        </message>
        <message>
            <source>纬度：</source>
            <translation>Lat:</translation>
        </message>
        <message>
            <source>海拔：</source>
            <translation>Alt:</translation>
        </message>
        <message>
            <source>半径（米）：</source>
            <translation>Radius (m):</translation>
        </message>
        <message>
            <source>地理指引</source>
            <translation>Geo guide</translation>
        </message>
        <message>
            <source>地理跟踪</source>
            <translation>Geo track</translation>
        </message>
        <message>
            <source>标识</source>
            <translation>Mark</translation>
        </message>
        <message>
            <source>关闭</source>
            <translation>Close</translation>
        </message>
    </context>
    <context>
        <name>MapProblem</name>
        <message>
            <source>地图数据：%1</source>
            <translation>Map data: %1</translation>
        </message>
        <message>
            <source>无法读取地球文件 %1</source>
            <translation>cannot read the earth file %1</translation>
        </message>
        <message>
            <source>地球文件不是有效的 XML%1</source>
            <translation>the earth file is not valid XML%1</translation>
        </message>
        <message>
            <source>地球文件中没有地图，而是 %1</source>
            <translation>the earth file has no map but %1</translation>
        </message>
        <message>
            <source>地图类型 %1 按地球仪显示</source>
            <translation>the map's type %1 is shown as a globe</translation>
        </message>
        <message>
            <source>没有给出地址（url）</source>
            <translation>has no url</translation>
        </message>
        <message>
            <source>缺少 %1</source>
            <translation>%1 is missing</translation>
        </message>
        <message>
            <source>%1 不是数字：%2</source>
            <translation>%1 is no number: %2</translation>
        </message>
        <message>
            <source>没有概览图，只在近处显示（可用 gdaladdo 生成）</source>
            <translation>has no overviews: it shows only from near (gdaladdo makes them)</translation>
        </message>
        <message>
            <source>原因不明</source>
            <translation>no reason is given</translation>
        </message>
        <message>
            <source>%1：没有能读取它的驱动</source>
            <translation>%1: no driver knows it</translation>
        </message>
        <message>
            <source>%1：其中没有图像</source>
            <translation>%1: has no picture in it</translation>
        </message>
        <message>
            <source>%1：没有地理位置信息</source>
            <translation>%1: does not say where on the earth it lies</translation>
        </message>
        <message>
            <source>%1：无法转换到 WGS 84</source>
            <translation>%1: cannot be brought to WGS 84</translation>
        </message>
        <message>
            <source>%1：不是瓦片地图的说明文件</source>
            <translation>%1: is no description of a tile map</translation>
        </message>
        <message>
            <source>%1：无法识别的文件格式</source>
            <translation>%1: the file's format is not known</translation>
        </message>
        <message>
            <source>%1：文件不存在</source>
            <translation>%1: there is no such file</translation>
        </message>
        <message>
            <source>服务器拒绝（HTTP %1）</source>
            <translation>the server refuses (HTTP %1)</translation>
        </message>
        <message>
            <source>%1：该地址没有内容</source>
            <translation>%1: there is nothing at this address</translation>
        </message>
        <message>
            <source>%1：无法读取</source>
            <translation>%1: cannot be read</translation>
        </message>
        <message>
            <source>有瓦片不是图像</source>
            <translation>a tile is no picture</translation>
        </message>
        <message>
            <source>本系统无法从网络读取</source>
            <translation>this system cannot read from the network</translation>
        </message>
        <message>
            <source>找不到服务器</source>
            <translation>the server cannot be found</translation>
        </message>
        <message>
            <source>无法连接服务器</source>
            <translation>no connection to the server</translation>
        </message>
        <message>
            <source>服务器没有响应</source>
            <translation>the server does not answer</translation>
        </message>
        <message>
            <source>部分数据无法读取：%1</source>
            <translation>parts cannot be read: %1</translation>
        </message>
        <message>
            <source>读取失败：%1</source>
            <translation>%1</translation>
        </message>
        <message>
            <source>另有 %1 条</source>
            <translation>and %1 more</translation>
        </message>
        <message>
            <source>图层 %1：%2</source>
            <translation>layer %1: %2</translation>
        </message>
    </context>
</TS>
