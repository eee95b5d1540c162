# Tests of styles, features and marks.
