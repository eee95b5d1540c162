# Tests of viewpoint, manipulator, controls and picker.
