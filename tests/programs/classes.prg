* Classes: instances with first values, methods, inheritance, blocks in methods.
class account
  var owner as character := "nobody", balance as numeric
  var moves := {}
  method init(cOwner)
  method pay(n)
  method total
  method name
endclass

class saver inherit account
  var rate := 5
  method init(cOwner, nRate)
  method name
  method interest()
endclass

class problem inherit error
  var where := "here"
endclass

class bag inherit tnstate
  var kept := "kept"
endclass

procedure main
  local a := accountnew("ann"), s := saver("sue", 10), p := problemnew(), e, k
  a:pay(5):pay(7)
  s:pay(100)
  ? a:owner, a:balance, a:total(), len(a:moves)
  ? s:owner, s:balance, s:rate, s:interest(), s:name(), a:name()
  a:balance += 1
  ? a:balance, len(s:moves), valtype(p), p:where, p:gencode
  p:description := "words"
  ? p:description
  errorblock({|o| break(o)})
  begin sequence
    a:owner := 5
  recover using e
    ? e:gencode
  end
  begin sequence
    a:nothing()
  recover using e
    ? e:gencode, e:description
  end
  begin sequence
    ? a:rate
  recover using e
    ? e:gencode
  end
  ? plain(a), plain(s)
  k := keeper()
  k:v := "first"
  e := k:later()
  k := keeper()
  k:v := "second"
  ? eval(e)
  e := bagnew()
  e:colour := "red"
  ? e:kept, e:colour, e:shape
  k := typed()
  begin sequence
    k:set("five")
  recover using e
    ? e:description
  end

class typed
  method set(n)
endclass

method set(n as numeric) class typed

function plain(o as account)
  return o:owner

method init(cOwner) class account
  ::owner := cOwner

method pay(n) class account
  ::balance += n
  aadd(::moves, n)

method total class account
  local n := 0
  aeval(self:moves, {|x| n += x * iif(::owner == "", 0, 1)})
  return n

method name class account
  return "account of " + ::owner

method init(cOwner, nRate) class saver
  super:init(upper(cOwner))
  ::rate := nRate

method name class saver
  return "saving " + super:name()

method interest class saver
  return ::balance * ::rate / 100

* What a method's blocks see of its object stays, whatever becomes of the caller's variable.
class keeper
  var v
  method later
endclass

method later class keeper
  return {|| ::v}
