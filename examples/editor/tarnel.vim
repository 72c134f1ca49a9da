" Vim syntax of program files. Copy it to ~/.vim/syntax/tarnel.vim and add to ~/.vimrc:
"   autocmd BufRead,BufNewFile *.prg set filetype=tarnel
if exists("b:current_syntax")
  finish
endif
syntax case ignore

syntax keyword tnStatement if elseif else endif do while enddo for each next to step in case otherwise endcase
syntax keyword tnStatement loop exit return begin sequence recover using endsequence break end with text endtext
syntax keyword tnDeclaration procedure function init local static private public parameters memvar field
syntax keyword tnDeclaration class inherit var method endclass
syntax keyword tnCommand use select go goto skip seek locate continue replace append delete recall pack zap copy sort
syntax keyword tnCommand total join update count sum average index reindex set close commit unlock store release save
syntax keyword tnCommand restore erase rename clear say wait accept input quit run list display
syntax keyword tnType numeric integer character logical date array block object
syntax keyword tnConstant nil self super
syntax match tnConstant "\.[tfyn]\."
syntax match tnOperator "\.\(and\|or\|not\)\."
syntax match tnNumber "\<\d\+\(\.\d\+\)\?\>"
syntax match tnMacro "&\(\k\+\|(\@=\)"
syntax match tnDirective "^\s*#.*$"
syntax region tnText start=+"+ end=+"+ oneline
syntax region tnText start=+'+ end=+'+ oneline
syntax match tnComment "^\s*\*.*$"
syntax match tnComment "\(&&\|//\).*$"
syntax region tnComment start="/\*" end="\*/"

highlight default link tnStatement Statement
highlight default link tnDeclaration StorageClass
highlight default link tnCommand Function
highlight default link tnType Type
highlight default link tnConstant Constant
highlight default link tnOperator Operator
highlight default link tnNumber Number
highlight default link tnMacro Macro
highlight default link tnDirective PreProc
highlight default link tnText String
highlight default link tnComment Comment

let b:current_syntax = "tarnel"
