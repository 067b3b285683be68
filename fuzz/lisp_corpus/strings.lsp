(strcat (rtos 3.14159 2 3) " " (angtos (/ pi 4) 0 2) " " (itoa 42) " " (strcase "walls" nil)
        " " (substr "floorplan" 6) " " (vl-string-subst "B" "A" "AXA") " " (rtos 1234.5 1 2))
