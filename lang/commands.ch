// The commands of the language: what a statement becomes that begins with one of these words. Program files are
// read as if this file stood before them; their own rules are tried first.
//
// Of the rules for a word the last one that matches is taken: the general ones stand above.
//
// Many commands take a scope, its words in any order:
//
//   FOR condition   the records for which it holds       WHILE condition   up to the first for which it doesn't
//   NEXT n          n records from the current one       RECORD n          that record
//   REST            from the current record on           ALL               all records
//
// Functions get it as the last five arguments, REST as .T. or .F.; with .F. they take all records, or with WHILE
// those from the current one on.
//
// Words in a <x: A, B> are written whole, so those that people cut stand there in both forms.

// --- Output

#command ? [<values,...>]   => qout(<values>)
#command ?? [<values,...>]  => qqout(<values>)

// Commands that need a table begin with __dbtable() where their function would say nothing without one.

// --- Areas

// Opens as SET EXCLUSIVE says, unless it tells. No order is opened beside a table that could not be.
#command USE <(file)> [ALIAS <(alias)>] [VIA <(driver)>] [<new: NEW>] [<shared: SHAR, SHARED>] [<alone: EXCL, EXCLUSIVE>] ;
    [<ro: READ, READONLY>] [INDEX <(index)> [, <(more)>]] ;
  => dbusearea(<.new.>, <(driver)>, <(file)>, <(alias)>, iif(<.alone.>, .F., iif(<.shared.>, .T., NIL)), <.ro.>) ;
    [.and. dbsetindex(<(index)>)] [.and. dbsetindex(<(more)>)]
#command USE                => dbclosearea()

#command SELECT <(area)>    => dbselectarea(<(area)>)

#command CLOSE              => dbclosearea()
#command CLOSE <area>       => <area>->(dbclosearea())
#command CLOSE DATABASES    => dbcloseall()
#command CLOSE ALL          => dbcloseall()
#command CLOSE INDEXES      => ordlistclear()
#command CLOSE ALTERNATE    => set(19, "")

#command COMMIT             => dbcommitall()
#command UNLOCK             => dbunlock()
#command UNLOCK ALL         => dbunlockall()

// --- The cursor

#command GO <n>             => dbgoto(<n>)
#command GO TOP             => dbgotop()
#command GO BOTTOM          => dbgobottom()
#command GOTO <n>           => dbgoto(<n>)
#command GOTO TOP           => dbgotop()
#command GOTO BOTTOM        => dbgobottom()

#command SKIP [<n>]                => dbskip(<n>)
#command SKIP [<n>] ALIAS <area>   => <area>->(dbskip(<n>))

#command SEEK <key>                => dbseek(<key>)
#command SEEK <key> SOFTSEEK       => dbseek(<key>, .T.)

// Without a scope from the top.
#command LOCATE [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dblocate({|| .T.}, <{while}>, <n>, <rec>, <.rest.>)
#command LOCATE [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] FOR <for> ;
    [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dblocate(<{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command CONTINUE           => __dbcontinue()

// --- Records

#command APPEND BLANK       => __dbtable() ; dbappend()

// A scope may stand before the fields.
#command REPLACE ALL <*replacements*>           => REPLACE <replacements> ALL
#command REPLACE REST <*replacements*>          => REPLACE <replacements> REST
#command REPLACE NEXT <n> <*replacements*>      => REPLACE <replacements> NEXT <n>
#command REPLACE RECORD <rec> <*replacements*>  => REPLACE <replacements> RECORD <rec>
#command REPLACE <field> WITH <value> [, <more> WITH <other>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbreplace({<"field"> [, <"more">]}, {<{value}> [, <{other}>]}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
// Without a scope the current record, and also that of another area: alias->field.
#command REPLACE <field> WITH <value> [, <more> WITH <other>] ;
  => __REPLACE <field> WITH <value> [; __REPLACE <more> WITH <other>]
#command __REPLACE <field> WITH <value>            => field-><field> := <value>
#command __REPLACE <area> -> <field> WITH <value>  => <area>-><field> := <value>

#command DELETE [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbdelete(<{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command DELETE             => __dbtable() ; dbdelete()
#command RECALL [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbrecall(<{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command RECALL             => __dbtable() ; dbrecall()

#command PACK               => __dbpack()
#command ZAP                => __dbzap()

// Lines of records: LIST all of them, DISPLAY the current one.
#command LIST [<off: OFF>] [<values,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dblist({<{values}>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>, <.off.>)
#command DISPLAY [<off: OFF>] [<values,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dblist({<{values}>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>, <.off.>)
#command DISPLAY [<off: OFF>] [<values,...>]  => __dblist({<{values}>}, , , 1, , .F., <.off.>)

// --- Sums

#command COUNT [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] TO <var> ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => <var> := __dbcount(<{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command SUM <values,...> [TO <var> [, <more>]] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbsum({<{values}>}, <{for}>, <{while}>, <n>, <rec>, <.rest.> [, @<var>] [, @<more>])
#command AVERAGE <values,...> [TO <var> [, <more>]] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbaverage({<{values}>}, <{for}>, <{while}>, <n>, <rec>, <.rest.> [, @<var>] [, @<more>])

// --- Sets of records

#command APPEND [FROM <(file)>] [FIELDS <fields,...>] [VIA <(driver)>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbapp(<(file)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>, <(driver)>)
#command APPEND [FROM <(file)>] [FIELDS <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] SDF ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbsdf(.F., <(file)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command APPEND [FROM <(file)>] [FIELDS <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] DELIMITED [WITH <(sign)>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbdelim(.F., <(file)>, <(sign)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)

#command COPY [TO <(file)>] [FIELDS <fields,...>] [VIA <(driver)>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbcopy(<(file)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>, <(driver)>)
#command COPY [TO <(file)>] [FIELDS <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] SDF ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbsdf(.T., <(file)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command COPY [TO <(file)>] [FIELDS <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] DELIMITED [WITH <(sign)>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbdelim(.T., <(file)>, <(sign)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command COPY STRUCTURE TO <(file)> [FIELDS <fields,...>]  => __dbcopyst(<(file)>, {<(fields)>})
#command COPY FILE <(from)> TO <(file)>                    => __copyfile(<(from)>, <(file)>)

#command SORT [TO <(file)>] [ON <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbsort(<(file)>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command TOTAL [TO <(file)>] [ON <key>] [FIELDS <fields,...>] ;
    [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] [ALL] ;
  => __dbtotal(<(file)>, <{key}>, {<(fields)>}, <{for}>, <{while}>, <n>, <rec>, <.rest.>)
#command JOIN [WITH <(area)>] [TO <(file)>] [FIELDS <fields,...>] [FOR <for>] ;
  => __dbjoin(<(area)>, <(file)>, {<(fields)>}, <{for}>)
#command UPDATE [FROM <(area)>] [ON <key>] [<random: RAND, RANDOM>] [REPLACE <field> WITH <value> [, <more> WITH <other>]] ;
  => __dbupdate(<(area)>, <{key}>, <.random.>, {|| field-><field> := <value> [, field-><more> := <other>]})

// --- Orders

#command INDEX ON <key> TO <(file)> [FOR <for>] [WHILE <while>] [NEXT <n>] [RECORD <rec>] [<rest: REST>] ;
    [<all: ALL>] [EVAL <eval>] [EVERY <every>] [<unique: UNIQ, UNIQUE>] [<down: DESC, DESCENDING>] [ASCENDING] ;
  => ordcondset(<"for">, <{for}>, <.all.>, <{while}>, <{eval}>, <every>, recno(), <n>, <rec>, <.rest.>, <.down.>) ; ;
     dbcreateindex(<(file)>, <"key">, <{key}>, iif(<.unique.>, .T., NIL))
#command INDEX ON <key> TO <(file)>         => dbcreateindex(<(file)>, <"key">, <{key}>)
#command INDEX ON <key> TO <(file)> UNIQUE  => dbcreateindex(<(file)>, <"key">, <{key}>, .T.)
#command REINDEX                            => ordlistrebuild()

#command SET INDEX TO                              => ordlistclear()
#command SET INDEX TO <(index)> [, <(more)>]       => __dbtable() ; ordlistclear() ; dbsetindex(<(index)>) [; dbsetindex(<(more)>)]
#command SET INDEX TO <(index)> [, <(more)>] ADDITIVE  => __dbtable() ; dbsetindex(<(index)>) [; dbsetindex(<(more)>)]
#command SET ORDER TO                              => dbsetorder(0)
#command SET ORDER TO <n>                          => dbsetorder(<n>)

#command SET FILTER TO                      => dbclearfilter()
#command SET FILTER TO <condition>          => dbsetfilter(<{condition}>, <"condition">)
#command SET FILTER TO <condition: &>       => dbsetfilter(<(condition)>, <(condition)>)

#command SET RELATION TO                    => dbclearrelation()
#command SET RELATION TO <key> INTO <(area)> [, [TO] <more> INTO <(other)>] ;
  => dbclearrelation() ; dbsetrelation(<(area)>, <{key}>, <"key">) [; dbsetrelation(<(other)>, <{more}>, <"more">)]
#command SET RELATION TO <key> INTO <(area)> [, [TO] <more> INTO <(other)>] ADDITIVE ;
  => dbsetrelation(<(area)>, <{key}>, <"key">) [; dbsetrelation(<(other)>, <{more}>, <"more">)]
#command SET RELATION OFF INTO <(area)> [, <(more)>]  => dbclearrelation(<(area)>) [; dbclearrelation(<(more)>)]

// --- Variables

#command STORE <value> TO <var> [, <more>]  => <var> := [<more> :=] <value>
#command RELEASE <var> [, <more>]           => __mrelease(<"var">) [; __mrelease(<"more">)]
#command RELEASE ALL                        => __mrelease()
#command RELEASE ALL LIKE <(names)>         => __mrelease(<(names)>, .T.)
#command RELEASE ALL EXCEPT <(names)>       => __mrelease(<(names)>, .F.)
#command SAVE TO <(file)>                   => __mvsave(<(file)>)
#command SAVE TO <(file)> ALL LIKE <(names)>    => __mvsave(<(file)>, <(names)>, .T.)
#command SAVE TO <(file)> ALL EXCEPT <(names)>  => __mvsave(<(file)>, <(names)>, .F.)
#command SAVE ALL LIKE <(names)> TO <(file)>      => __mvsave(<(file)>, <(names)>, .T.)
#command SAVE ALL EXCEPT <(names)> TO <(file)>    => __mvsave(<(file)>, <(names)>, .F.)
#command RESTORE FROM <(file)> [<add: ADDI, ADDITIVE>]  => __mvrestore(<(file)>, <.add.>)

// --- Files and programs

#command ERASE <(file)>               => ferase(<(file)>)
#command DELETE FILE <(file)>         => ferase(<(file)>)
#command RENAME <(from)> TO <(file)>  => frename(<(from)>, <(file)>)
#command RUN <*command*>              => run(#<command>)
#command RUN ( <command> )            => run(<command>)
#command QUIT                         => __quit()

// --- The screen

#command CLEAR                        => scroll() ; setpos(0, 0)
#command CLEAR SCREEN                 => scroll() ; setpos(0, 0)
#command CLS                          => scroll() ; setpos(0, 0)
#command CLEAR ALL                    => dbcloseall() ; __mclear()
#command CLEAR MEMORY                 => __mclear()
#command CLEAR TYPEAHEAD              => __keyboard()
#command KEYBOARD <keys>              => __keyboard(<keys>)

#command @ <row>, <col>                                 => scroll(<row>, <col>, <row>, maxcol()) ; setpos(<row>, <col>)
#command @ <row>, <col> CLEAR                           => scroll(<row>, <col>, maxrow(), maxcol()) ; setpos(<row>, <col>)
#command @ <row>, <col> CLEAR TO <bottom>, <right>      => scroll(<row>, <col>, <bottom>, <right>) ; setpos(<row>, <col>)
#command @ <row>, <col> TO <bottom>, <right> [COLOR <colour>]  => dispbox(<row>, <col>, <bottom>, <right>, 1, <colour>)
#command @ <row>, <col> TO <bottom>, <right> DOUBLE [COLOR <colour>]  => dispbox(<row>, <col>, <bottom>, <right>, 2, <colour>)
#command @ <row>, <col>, <bottom>, <right> BOX <frame> [COLOR <colour>]  => dispbox(<row>, <col>, <bottom>, <right>, <frame>, <colour>)
#command @ <row>, <col> SAY <value> [COLOR <colour>]    => devpos(<row>, <col>) ; devout(<value>, <colour>)
#command @ <row>, <col> SAY <value> PICTURE <picture> [COLOR <colour>] ;
  => devpos(<row>, <col>) ; devout(transform(<value>, <picture>), <colour>)

#command WAIT [<prompt>]              => __wait(<prompt>)
#command WAIT [<prompt>] TO <var>     => <var> := __wait(<prompt>)
#command ACCEPT [<prompt>] TO <var>   => <var> := __accept(<prompt>)
#command INPUT [<prompt>] TO <var>    => <var> := __input(<prompt>)

// --- Settings

// What is ON or OFF takes those words, a logical in brackets, or a macro of a text.
#command SET EXACT [<on: ON, OFF, &>] [( <is> )]     => set(1, <(on)> <is>)
#command SET FIXED [<on: ON, OFF, &>] [( <is> )]     => set(2, <(on)> <is>)
#command SET EXCLUSIVE [<on: ON, OFF, &>] [( <is> )] => set(8, <(on)> <is>)
#command SET SOFTSEEK [<on: ON, OFF, &>] [( <is> )]  => set(9, <(on)> <is>)
#command SET UNIQUE [<on: ON, OFF, &>] [( <is> )]    => set(10, <(on)> <is>)
#command SET DELETED [<on: ON, OFF, &>] [( <is> )]   => set(11, <(on)> <is>)
#command SET CANCEL [<on: ON, OFF, &>] [( <is> )]    => set(12, <(on)> <is>)
#command SET DEBUG [<on: ON, OFF, &>] [( <is> )]     => set(13, <(on)> <is>)
#command SET CURSOR [<on: ON, OFF, &>] [( <is> )]    => set(16, <(on)> <is>)
#command SET CONSOLE [<on: ON, OFF, &>] [( <is> )]   => set(17, <(on)> <is>)
#command SET ALTERNATE [<on: ON, OFF, &>] [( <is> )] => set(18, <(on)> <is>)
#command SET EXTRA [<on: ON, OFF, &>] [( <is> )]     => set(21, <(on)> <is>)
#command SET PRINTER [<on: ON, OFF, &>] [( <is> )]   => set(23, <(on)> <is>)
#command SET BELL [<on: ON, OFF, &>] [( <is> )]      => set(26, <(on)> <is>)
#command SET CONFIRM [<on: ON, OFF, &>] [( <is> )]   => set(27, <(on)> <is>)
#command SET ESCAPE [<on: ON, OFF, &>] [( <is> )]    => set(28, <(on)> <is>)
#command SET INSERT [<on: ON, OFF, &>] [( <is> )]    => set(29, <(on)> <is>)
#command SET EXIT [<on: ON, OFF, &>] [( <is> )]      => set(30, <(on)> <is>)
#command SET INTENSITY [<on: ON, OFF, &>] [( <is> )] => set(31, <(on)> <is>)
#command SET SCOREBOARD [<on: ON, OFF, &>] [( <is> )] => set(32, <(on)> <is>)
#command SET DELIMITERS [<on: ON, OFF, &>] [( <is> )] => set(33, <(on)> <is>)
#command SET WRAP [<on: ON, OFF, &>] [( <is> )]      => set(35, <(on)> <is>)
#command SET MULTILOCKS [<on: ON, OFF, &>] [( <is> )] => set(40, <(on)> <is>)
#command SET CENTURY [<on: ON, OFF, &>] [( <is> )]   => set(41, <(on)> <is>)

#command SET DECIMALS TO              => set(3, 0)
#command SET DECIMALS TO <n>          => set(3, <n>)
#command SET EPOCH TO <year>          => set(5, <year>)
#command SET TYPEAHEAD TO <n>         => set(14, <n>)
#command SET MARGIN TO                => set(25, 0)
#command SET MARGIN TO <n>            => set(25, <n>)
#command SET MESSAGE TO               => set(36, -1)
#command SET MESSAGE TO <row> [<centre: CENT, CENTER, CENTRE>]  => set(36, <row>) ; set(37, <.centre.>)
#command SET AUTOLOCK TO <seconds>    => set(39, <seconds>)
#command SET AUTOLOCK ON              => set(39, .T.)
#command SET AUTOLOCK OFF             => set(39, .F.)

#command SET DATE FORMAT [TO] <format>  => set(4, <format>)
#command SET DATE [TO] AMERICAN       => set(4, iif(set(41), "mm/dd/yyyy", "mm/dd/yy"))
#command SET DATE [TO] ANSI           => set(4, iif(set(41), "yyyy.mm.dd", "yy.mm.dd"))
#command SET DATE [TO] BRITISH        => set(4, iif(set(41), "dd/mm/yyyy", "dd/mm/yy"))
#command SET DATE [TO] FRENCH         => set(4, iif(set(41), "dd/mm/yyyy", "dd/mm/yy"))
#command SET DATE [TO] GERMAN         => set(4, iif(set(41), "dd.mm.yyyy", "dd.mm.yy"))
#command SET DATE [TO] ITALIAN        => set(4, iif(set(41), "dd-mm-yyyy", "dd-mm-yy"))
#command SET DATE [TO] JAPANESE       => set(4, iif(set(41), "yyyy/mm/dd", "yy/mm/dd"))
#command SET DATE [TO] USA            => set(4, iif(set(41), "mm-dd-yyyy", "mm-dd-yy"))

#command SET PATH TO                  => set(6, "")
#command SET PATH TO <*folders*>      => set(6, #<folders>)
#command SET PATH TO <(folders)>      => set(6, <(folders)>)
#command SET DEFAULT TO               => set(7, "")
#command SET DEFAULT TO <(folder)>    => set(7, <(folder)>)

#command SET COLOUR <*rest*>          => SET COLOR <rest>
#command SET COLOR TO                 => setcolor("")
#command SET COLOR TO <*colours*>     => setcolor(#<colours>)
#command SET COLOR TO <colours: &>    => setcolor(<(colours)>)
#command SET COLOR TO ( <colours> )   => setcolor(<colours>)
#command SET DEVICE TO SCREEN         => set(20, "SCREEN")
#command SET DEVICE TO PRINTER        => set(20, "PRINT")
#command SET DELIMITERS TO            => set(34, "")
#command SET DELIMITERS TO DEFAULT    => set(34, "")
#command SET DELIMITERS TO <signs>    => set(34, <signs>)

#command SET ALTERNATE TO             => set(19, "")
#command SET ALTERNATE TO <(file)> [<add: ADDI, ADDITIVE>]  => set(19, <(file)>, <.add.>)
#command SET EXTRA TO                 => set(22, "")
#command SET EXTRA TO <(file)> [<add: ADDI, ADDITIVE>]      => set(22, <(file)>, <.add.>)
#command SET PRINTER TO               => set(24, "")
#command SET PRINTER TO <(file)> [<add: ADDI, ADDITIVE>]    => set(24, <(file)>, <.add.>)

#command SET KEY <key> TO             => setkey(<key>, NIL)
#command SET KEY <key> TO <name>      => setkey(<key>, {|p, l, v| <name>(p, l, v)})
#command SET FUNCTION <n> TO          => __setfunct(<n>, "")
#command SET FUNCTION <n> TO <keys>   => __setfunct(<n>, <keys>)

// The named options, on and off or with a value.
#command SET <option: DEVELOPER, TYPEAHEAD, LOWERFILES, UPPERFILES, MEMCOMPAT, PATHLOWER, PATHUPPER, SHORTNAME, ZEROBYTE, LOCK40COMP, INTVAR> ON ;
  => ov_set(<(option)>, .T.)
#command SET <option: DEVELOPER, TYPEAHEAD, LOWERFILES, UPPERFILES, MEMCOMPAT, PATHLOWER, PATHUPPER, SHORTNAME, ZEROBYTE, LOCK40COMP, INTVAR> OFF ;
  => ov_set(<(option)>, .F.)
#command SET <option: DEVELOPER, TYPEAHEAD, LOWERFILES, UPPERFILES, MEMCOMPAT, PATHLOWER, PATHUPPER, SHORTNAME, ZEROBYTE, LOCK40COMP, INTVAR> ( <on> ) ;
  => ov_set(<(option)>, <on>)
#command SET <option: DEBUGKEY, BREAKKEY, ESCDELAY, PATHDELIMS, MAPPING, OUTMAP, INMAP, TERMINAL> TO <value> ;
  => ov_set(<(option)>, <value>)
#command SET LANGUAGE TO <n>                      => ov_set("setlanguage", <n>)
#command SET LANGUAGE FROM <(file)>                => ov_set("loadlanguage", <(file)>)
#command SET EXTENSION <(from)> TO <(extension)>  => ov_set("translext", <(from)>, <(extension)>)
#command SET ENVIRONMENT <(name)> TO <value>      => ov_set("setenvir", <(name)>, <value>)
