* What is wrong with commands is told where they stop to be ones.
procedure main
  replace name with 1 + * 2 for k = 1
  seek "abc" + )
  locate for 1 + +
  index on upper(name + to x
  store 1 + to x
  replace a with 3 ;
    3
  delete for a b
  sum a, b + to c
  set softseek maybe
  go 1 +
  seek
  count for a
  sum a

class c
  var x
procedure after
