(list (vl-string-search "ll" "Walls") (wcmatch "Windows" "W*") (vl-string-trim " " "  x  ")
      (read "(1 2 . 3)") (vl-prin1-to-string "a\"b") (atof "2.5e3") (atoi "-17") (chr 65) (ascii "z"))
