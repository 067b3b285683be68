(entmake (quote ((0 . "LINE") (10 0 0 0) (11 1 1 0))))
(command "UNDO" "MARK")
