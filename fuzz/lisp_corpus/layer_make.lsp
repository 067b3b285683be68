(entmake '((0 . "LAYER") (100 . "AcDbSymbolTableRecord") (100 . "AcDbLayerTableRecord") (2 . "NEW-LAYER") (70 . 0) (62 . 5) (6 . "Continuous")))
(setvar "CLAYER" "NEW-LAYER")
(getvar "CLAYER")
