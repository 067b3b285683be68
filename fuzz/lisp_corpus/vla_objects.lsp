(vl-load-com)
(setq o (vlax-ename->vla-object (entlast)))
(vla-put-color o 2)
(list (vla-get-objectname o) (vla-get-layer o) (vla-get-color o) (vlax-property-available-p o 'Radius))
