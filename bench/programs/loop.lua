for i = 1, 10000000 do end
