for k = 1, 20 do
  local pieces = {}
  for i = 1, 100000 do
    pieces[i] = "0123456789"
  end
  c = table.concat(pieces)
end
print(#c)
