setlocal commentstring=//\ %s comments=s1:/*,mb:*,ex:*/,://
setlocal shiftwidth=4 expandtab
setlocal makeprg=morvantic\ check\ %:S errorformat=%f:%l:%v:\ %t%*[^:]:\ %m,%-G\ \ \ \ %.%#
